#include "host/audio_buffer.h"

#include "host/formats.h"

#include <zta/status.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <stdexcept>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zta::host {

namespace {

constexpr std::size_t kAlignment = 64;

constexpr std::uint32_t kOneRead = 1;
constexpr std::uint32_t kReadMask = 0x0000FFFF;
constexpr std::uint32_t kOneWrite = 0x00010000;
constexpr std::uint32_t kWriteMask = 0xFFFF0000;

std::atomic<long> live_count{0};

std::byte* AllocateZeroed(std::size_t size)
{
    if (size > SIZE_MAX - kAlignment) {
        throw std::bad_alloc();
    }
    const std::size_t rounded = std::max((size + kAlignment - 1) / kAlignment * kAlignment, kAlignment);
    void* memory = std::aligned_alloc(kAlignment, rounded);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    std::memset(memory, 0, rounded);
    return static_cast<std::byte*>(memory);
}

bool IsSame(const _GUID& first, const _GUID& second)
{
    return std::memcmp(&first, &second, sizeof(_GUID)) == 0;
}

std::uint32_t* FutexWord(std::atomic<std::uint32_t>& word)
{
    static_assert(sizeof(word) == sizeof(std::uint32_t) && std::atomic<std::uint32_t>::is_always_lock_free);
    return reinterpret_cast<std::uint32_t*>(&word);
}

/// Blocks while the word is `expected`, at most for `timeout`. Spurious returns are possible.
void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t expected, std::chrono::nanoseconds timeout)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
    timespec limit{};
    limit.tv_sec = static_cast<std::time_t>(seconds.count());
    limit.tv_nsec = static_cast<long>((timeout - seconds).count());
    syscall(SYS_futex, FutexWord(word), FUTEX_WAIT_PRIVATE, expected, &limit, nullptr, 0);
}

void FutexWakeAll(std::atomic<std::uint32_t>& word)
{
    syscall(SYS_futex, FutexWord(word), FUTEX_WAKE_PRIVATE, INT32_MAX, nullptr, nullptr, 0);
}

} // namespace

Ref<AudioBuffer> AudioBuffer::Create(const SZtaWaveFormatInfo& format, std::size_t capacityBytes)
{
    return Ref<AudioBuffer>::Adopt(new AudioBuffer(format, capacityBytes));
}

Ref<AudioBuffer> AudioBuffer::Create(const SZtCreateAudioSamplesDescription& request)
{
    auto buffer = Create(request.sWaveFormat, request.ui64BufferSize);
    buffer->description_.ePolarity = request.ePolarity;
    buffer->description_.ulHostAttribute = request.ulHostAttribute;
    buffer->SetFades(request.bFadeIn, request.bFadeOut);
    return buffer;
}

AudioBuffer::AudioBuffer(const SZtaWaveFormatInfo& format, std::size_t capacityBytes)
    : data_(AllocateZeroed(capacityBytes)), capacity_(capacityBytes)
{
    description_.ulSize = sizeof(description_);
    description_.sWaveFormat = format;
    ++live_count;
}

AudioBuffer::~AudioBuffer()
{
    std::free(data_);
    --live_count;
}

int AudioBuffer::QueryInterface(const _GUID& riid, void** ppv)
{
    if (ppv == nullptr) {
        return E_POINTER;
    }
    // The three interfaces are one chain of bases and have the same address.
    if (IsSame(riid, IID_IUnknown) || IsSame(riid, IID_IZtAVContent) || IsSame(riid, IID_IZtAudioSamples)) {
        *ppv = static_cast<IZtAudioSamples*>(this);
        AddRef();
        return ZT_NOERROR;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

unsigned long AudioBuffer::AddRef()
{
    return references_.fetch_add(1, std::memory_order_relaxed) + 1;
}

unsigned long AudioBuffer::Release()
{
    const unsigned long left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        delete this;
    }
    return left;
}

void AudioBuffer::Mark::Set()
{
    last = Clock::now().time_since_epoch().count();
    ++count;
}

int AudioBuffer::MarkWriteStartTime()
{
    writeStart_.Set();
    return ZT_NOERROR;
}

int AudioBuffer::MarkWriteStopTime()
{
    writeStop_.Set();
    return ZT_NOERROR;
}

int AudioBuffer::EndAccess(std::uint32_t one, std::uint32_t mask, int error)
{
    std::uint32_t open = open_.load();
    do {
        if ((open & mask) == 0) {
            ++violations_;
            return error;
        }
    } while (!open_.compare_exchange_weak(open, open - one));
    // A waiter increments the counter before it reads the word: either it reads zero, or it is counted here.
    if (open == one && waiters_.load() != 0) {
        FutexWakeAll(open_);
    }
    return ZT_NOERROR;
}

int AudioBuffer::SignalReadCompletion()
{
    return EndAccess(kOneRead, kReadMask, ZT_E_READ_COUNT_NOT_INCREMENTED);
}

int AudioBuffer::SignalWriteCompletion()
{
    return EndAccess(kOneWrite, kWriteMask, ZT_E_WRITE_COUNT_NOT_INCREMENTED);
}

int AudioBuffer::SetErrorCode(int code)
{
    errorCode_ = code;
    return ZT_NOERROR;
}

int AudioBuffer::GetErrorCode(int* code)
{
    if (code == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    *code = errorCode_;
    return ZT_NOERROR;
}

int AudioBuffer::SetPolarity(std::uint32_t polarity)
{
    description_.ePolarity = polarity;
    return ZT_NOERROR;
}

int AudioBuffer::SetWaveFormat(SZtaWaveFormatInfo* format)
{
    if (format == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    description_.sWaveFormat = *format;
    return ZT_NOERROR;
}

int AudioBuffer::GetAudioSamplesDescription(SZtAudioSamplesDescription* description)
{
    if (description == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    if (description->ulSize != sizeof(*description)) {
        return ZT_E_INVALID_PARAMETER;
    }
    *description = description_;
    return ZT_NOERROR;
}

int AudioBuffer::GetBufferAndLength(void** data, unsigned long* lengthBytes)
{
    if (data == nullptr || lengthBytes == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    *data = data_;
    *lengthBytes = length_;
    return ZT_NOERROR;
}

int AudioBuffer::GetBufferCapacity(unsigned long* capacityBytes)
{
    if (capacityBytes == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    *capacityBytes = capacity_;
    return ZT_NOERROR;
}

int AudioBuffer::GetLengthInSampleFrames(unsigned long* frames)
{
    if (frames == nullptr) {
        return ZT_E_INVALID_POINTER;
    }
    const std::size_t frameBytes = BytesPerFrame(description_.sWaveFormat);
    *frames = frameBytes == 0 ? 0 : length_ / frameBytes;
    return ZT_NOERROR;
}

int AudioBuffer::SetFadeIn(bool fadeIn)
{
    description_.bFadeIn = fadeIn;
    return ZT_NOERROR;
}

int AudioBuffer::SetFadeOut(bool fadeOut)
{
    description_.bFadeOut = fadeOut;
    return ZT_NOERROR;
}

int AudioBuffer::SetLength(unsigned long lengthBytes)
{
    if (lengthBytes > capacity_) {
        return ZT_E_INVALID_PARAMETER;
    }
    length_ = lengthBytes;
    return ZT_NOERROR;
}

void AudioBuffer::AnnounceRead()
{
    open_ += kOneRead;
}

void AudioBuffer::AnnounceWrite()
{
    open_ += kOneWrite;
}

long AudioBuffer::References() const
{
    return static_cast<long>(references_);
}

int AudioBuffer::ReadCount() const
{
    return static_cast<int>(open_ & kReadMask);
}

int AudioBuffer::WriteCount() const
{
    return static_cast<int>(open_ / kOneWrite);
}

int AudioBuffer::PairingViolations() const
{
    return violations_;
}

bool AudioBuffer::WaitForCompletion(std::chrono::nanoseconds timeout)
{
    const auto start = Clock::now();
    ++waiters_;
    std::uint32_t open = open_;
    for (auto left = timeout; open != 0 && left.count() > 0; left = timeout - (Clock::now() - start)) {
        FutexWait(open_, open, left);
        open = open_;
    }
    --waiters_;
    return open == 0;
}

std::byte* AudioBuffer::Data()
{
    return data_;
}

const std::byte* AudioBuffer::Data() const
{
    return data_;
}

std::size_t AudioBuffer::Capacity() const
{
    return capacity_;
}

std::size_t AudioBuffer::Length() const
{
    return length_;
}

void AudioBuffer::SetValidLength(std::size_t lengthBytes)
{
    if (lengthBytes > capacity_) {
        throw std::length_error("valid length beyond the buffer's capacity");
    }
    length_ = lengthBytes;
}

int AudioBuffer::ErrorCode() const
{
    return errorCode_;
}

void AudioBuffer::ClearErrorCode()
{
    errorCode_ = ZT_NOERROR;
}

SZtAudioSamplesDescription AudioBuffer::Description() const
{
    return description_;
}

std::uint32_t AudioBuffer::Polarity() const
{
    return description_.ePolarity;
}

void AudioBuffer::SetFormat(const SZtaWaveFormatInfo& format)
{
    description_.sWaveFormat = format;
}

void AudioBuffer::SetFades(bool fadeIn, bool fadeOut)
{
    description_.bFadeIn = fadeIn;
    description_.bFadeOut = fadeOut;
}

int AudioBuffer::WriteStartMarks() const
{
    return writeStart_.count;
}

int AudioBuffer::WriteStopMarks() const
{
    return writeStop_.count;
}

AudioBuffer::Clock::time_point AudioBuffer::LastWriteStart() const
{
    return Clock::time_point(Clock::duration(writeStart_.last.load()));
}

AudioBuffer::Clock::time_point AudioBuffer::LastWriteStop() const
{
    return Clock::time_point(Clock::duration(writeStop_.last.load()));
}

long AudioBuffer::LiveCount()
{
    return live_count;
}

} // namespace zta::host
