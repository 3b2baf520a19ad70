#include <zta/ipp.h>

#include <cstdint>
#include <cstdlib>
#include <limits>

namespace {

constexpr std::uintptr_t kAlignment = 64;

/// Bytes for the alignment, and for the address from malloc, which is stored below the block.
constexpr int kHeaderBytes = 72;

} // namespace

void* ippMalloc(int len) noexcept
{
    if (len < 1 || len > std::numeric_limits<int>::max() - kHeaderBytes) {
        return nullptr;
    }
    void* const pvStart = std::malloc(static_cast<std::size_t>(len) + kHeaderBytes);
    if (pvStart == nullptr) {
        return nullptr;
    }
    const std::uintptr_t ulBlock = (reinterpret_cast<std::uintptr_t>(pvStart) + kHeaderBytes - 1) & ~(kAlignment - 1);
    void** const ppvBlock = reinterpret_cast<void**>(ulBlock);
    ppvBlock[-1] = pvStart;
    return ppvBlock;
}

void ippFree(void* p) noexcept
{
    if (p != nullptr) {
        std::free(static_cast<void**>(p)[-1]);
    }
}
