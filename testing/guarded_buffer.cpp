#include "testing/guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <new>

GuardedBuffer::GuardedBuffer(std::size_t bytes)
    : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), size_((bytes + page_ - 1) / page_ * page_)
{
    void* all = mmap(nullptr, size_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED) {
        throw std::bad_alloc();
    }
    begin_ = static_cast<std::uint8_t*>(all) + page_;
    if (mprotect(begin_, size_, PROT_READ | PROT_WRITE) != 0) {
        throw std::bad_alloc();
    }
}

GuardedBuffer::~GuardedBuffer()
{
    munmap(begin_ - page_, size_ + 2 * page_);
}
