/// The buffers of the reference host.
#pragma once

#include "ref.h"

#include <zta/host_interfaces.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace zta::host {

/// A buffer of audio samples that owns its memory.
///
/// An access: the host announces it (AnnounceRead on an input, AnnounceWrite on an output) and calls the engine; the
/// engine signals its completion once. A consumer on another thread waits for the signal with WaitForCompletion.
///
/// Units are bytes unless the name says otherwise. New memory is zero and aligned to 64 bytes; the valid length is 0.
///
/// Threads: reference count, open accesses, marks and error code are atomic. Samples, format, length, fade flags and
/// polarity belong to the thread with the announced access; several readers may share them. The operations of the
/// interfaces do not allocate or lock. They make no system call, except that a signal wakes a waiting thread and that
/// the marks read the clock.
///
/// A derived class may override each operation.
class AudioBuffer : public IZtAudioSamples {
public:
    /// The clock of the marks.
    using Clock = std::chrono::steady_clock;

    /// Creates a buffer of `capacityBytes` bytes; the caller owns the reference. Throws std::bad_alloc.
    [[nodiscard]] static Ref<AudioBuffer> Create(const SZtaWaveFormatInfo& format, std::size_t capacityBytes);

    /// Creates the buffer that an engine requests. Throws std::bad_alloc.
    [[nodiscard]] static Ref<AudioBuffer> Create(const SZtCreateAudioSamplesDescription& request);

    AudioBuffer(const AudioBuffer&) = delete;
    AudioBuffer& operator=(const AudioBuffer&) = delete;

    // Called by the engine. They do not throw. A null pointer returns ZT_E_INVALID_POINTER, from
    // QueryInterface E_POINTER.

    /// Supports IID_IUnknown, IID_IZtAVContent and IID_IZtAudioSamples.
    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override;
    unsigned long Release() override;

    int MarkWriteStartTime() override;
    int MarkWriteStopTime() override;

    /// Ends one announced read.
    /// Errors  ZT_E_READ_COUNT_NOT_INCREMENTED  no read is announced; see PairingViolations
    int SignalReadCompletion() override;
    /// Ends one announced write.
    /// Errors  ZT_E_WRITE_COUNT_NOT_INCREMENTED  no write is announced; see PairingViolations
    int SignalWriteCompletion() override;

    int SetErrorCode(int code) override;
    int GetErrorCode(int* code) override;

    int SetPolarity(std::uint32_t polarity) override;
    int SetWaveFormat(SZtaWaveFormatInfo* format) override;

    /// Errors  ZT_E_INVALID_PARAMETER  the record has another size
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override;

    int GetBufferAndLength(void** data, unsigned long* lengthBytes) override;
    int GetBufferCapacity(unsigned long* capacityBytes) override;

    /// Stores 0 if a frame of the format has no bytes.
    int GetLengthInSampleFrames(unsigned long* frames) override;

    int SetFadeIn(bool fadeIn) override;
    int SetFadeOut(bool fadeOut) override;

    /// Errors  ZT_E_INVALID_PARAMETER  the length exceeds the capacity; the valid length does not change
    int SetLength(unsigned long lengthBytes) override;

    // Called by the host.

    // Announce an access before the call of the engine. At most 65535 reads and 65535 writes may be open.
    void AnnounceRead();  ///< on an input
    void AnnounceWrite(); ///< on an output

    [[nodiscard]] long References() const; ///< reference count

    [[nodiscard]] int ReadCount() const;  ///< announced reads without a signal
    [[nodiscard]] int WriteCount() const; ///< announced writes without a signal

    /// Returns the number of signals without an announcement.
    [[nodiscard]] int PairingViolations() const;

    /// Blocks until no announced access is open. Returns false after `timeout`; does not block if it is 0 or negative.
    [[nodiscard]] bool WaitForCompletion(std::chrono::nanoseconds timeout);

    [[nodiscard]] std::byte* Data();             ///< the first byte
    [[nodiscard]] const std::byte* Data() const; ///< the first byte
    [[nodiscard]] std::size_t Capacity() const;  ///< capacity in bytes
    [[nodiscard]] std::size_t Length() const;    ///< valid length in bytes

    /// Sets the valid length. Throws std::length_error if it exceeds the capacity.
    void SetValidLength(std::size_t lengthBytes);

    /// Returns the error code that the producer recorded, or 0.
    [[nodiscard]] int ErrorCode() const;
    void ClearErrorCode(); ///< call before reusing the buffer: the engine does not clear it

    [[nodiscard]] SZtAudioSamplesDescription Description() const; ///< the description that the engine receives
    [[nodiscard]] std::uint32_t Polarity() const;                 ///< as last set by the engine; initially 0
    void SetFormat(const SZtaWaveFormatInfo& format);             ///< the samples do not change
    void SetFades(bool fadeIn, bool fadeOut);                     ///< requests fades

    // Time marks of the engine: their number, and the time of the last one (the epoch of the clock if none).
    [[nodiscard]] int WriteStartMarks() const;              ///< number of start marks
    [[nodiscard]] int WriteStopMarks() const;               ///< number of stop marks
    [[nodiscard]] Clock::time_point LastWriteStart() const; ///< time of the last start mark
    [[nodiscard]] Clock::time_point LastWriteStop() const;  ///< time of the last stop mark

    /// Returns the number of live buffers of this process, derived classes included.
    [[nodiscard]] static long LiveCount();

protected:
    /// The object has one reference, owned by its creator. Throws std::bad_alloc.
    AudioBuffer(const SZtaWaveFormatInfo& format, std::size_t capacityBytes);

    /// Declared after the operations of the interface, so that their slots do not move.
    virtual ~AudioBuffer();

private:
    struct Mark {
        std::atomic<int> count{0};
        std::atomic<Clock::rep> last{0};

        void Set();
    };

    int EndAccess(std::uint32_t one, std::uint32_t mask, int error);

    std::atomic<unsigned long> references_{1};
    std::byte* data_;
    std::size_t capacity_;
    std::size_t length_ = 0;
    SZtAudioSamplesDescription description_{};
    std::atomic<int> errorCode_{0};

    /// Open reads in the low 16 bits, open writes in the high 16 bits: a waiter waits for a single value.
    std::atomic<std::uint32_t> open_{0};
    std::atomic<std::uint32_t> waiters_{0};
    std::atomic<int> violations_{0};
    Mark writeStart_;
    Mark writeStop_;
};

} // namespace zta::host
