/// The host's buffers.
#pragma once

#include "ref.h"

#include <zta/host_interfaces.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace zta::host {

/// A buffer of audio samples with memory of its own, as a host hands it to the engine.
///
/// The life of one access: the host announces it (AnnounceRead on an input, AnnounceWrite on an output) and calls the
/// engine; the engine answers each announcement with one signal. A consumer on another thread waits for that with
/// WaitForCompletion.
///
/// Units are bytes unless a name says otherwise. Fresh memory is all zero, aligned to 64 bytes, and the valid length
/// is 0.
///
/// Threads: references, counts, marks and the error code may be used from any thread at any time. Samples, format,
/// length, fade flags and polarity belong to whoever has the announced access; several readers may share them.
/// No operation of the interfaces allocates or locks, and none enters the kernel, except that a signal wakes a thread
/// that waits and that the marks read the clock.
///
/// A host with wishes of its own derives from this class: each operation can be overridden.
class AudioBuffer : public IZtAudioSamples {
public:
    /// What the marks are taken with.
    using Clock = std::chrono::steady_clock;

    /// Creates a buffer of `capacityBytes` bytes; the caller owns the reference. Throws std::bad_alloc.
    [[nodiscard]] static Ref<AudioBuffer> Create(const SZtaWaveFormatInfo& format, std::size_t capacityBytes);

    /// Creates what the engine asks a host for.
    [[nodiscard]] static Ref<AudioBuffer> Create(const SZtCreateAudioSamplesDescription& request);

    AudioBuffer(const AudioBuffer&) = delete;
    AudioBuffer& operator=(const AudioBuffer&) = delete;

    // What the engine calls. A null pointer is refused with ZT_E_INVALID_POINTER; nothing throws.

    /// Answers IID_IUnknown, IID_IZtAVContent and IID_IZtAudioSamples.
    int QueryInterface(const _GUID& riid, void** ppv) override;
    unsigned long AddRef() override;
    unsigned long Release() override;

    int MarkWriteStartTime() override;
    int MarkWriteStopTime() override;

    /// End one announced access. Errors  ZT_E_READ_COUNT_NOT_INCREMENTED, ZT_E_WRITE_COUNT_NOT_INCREMENTED: there is
    /// none; see PairingViolations.
    int SignalReadCompletion() override;
    int SignalWriteCompletion() override;

    int SetErrorCode(int code) override;
    int GetErrorCode(int* code) override;

    int SetPolarity(std::uint32_t polarity) override;
    int SetWaveFormat(SZtaWaveFormatInfo* format) override;

    /// Errors  ZT_E_INVALID_PARAMETER: the record's size is not set.
    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override;

    int GetBufferAndLength(void** data, unsigned long* lengthBytes) override;
    int GetBufferCapacity(unsigned long* capacityBytes) override;

    /// 0 frames in a format whose frame has no bytes.
    int GetLengthInSampleFrames(unsigned long* frames) override;

    int SetFadeIn(bool fadeIn) override;
    int SetFadeOut(bool fadeOut) override;

    /// Errors  ZT_E_INVALID_PARAMETER: beyond the capacity; the length stays.
    int SetLength(unsigned long lengthBytes) override;

    // What the host calls.

    // Announce an access, before the engine is called. Up to 65535 of each kind may be open.
    void AnnounceRead();  ///< on an input
    void AnnounceWrite(); ///< on an output

    [[nodiscard]] int ReadCount() const;  ///< announced reads that have not been signalled
    [[nodiscard]] int WriteCount() const; ///< announced writes that have not been signalled

    /// Signals that came without an announcement.
    [[nodiscard]] int PairingViolations() const;

    /// Blocks until no announced access is open. False if `timeout` passes first; 0 or less only looks.
    [[nodiscard]] bool WaitForCompletion(std::chrono::nanoseconds timeout);

    [[nodiscard]] std::byte* Data();             ///< the first byte
    [[nodiscard]] const std::byte* Data() const; ///< the first byte
    [[nodiscard]] std::size_t Capacity() const;  ///< bytes that the buffer holds
    [[nodiscard]] std::size_t Length() const;    ///< bytes that are valid, from the first on

    /// Sets the valid length. Throws std::length_error beyond the capacity.
    void SetValidLength(std::size_t lengthBytes);

    /// 0, or what the last failing producer of this content left behind.
    [[nodiscard]] int ErrorCode() const;
    void ClearErrorCode(); ///< before the buffer is used again: the engine never does it

    [[nodiscard]] SZtAudioSamplesDescription Description() const; ///< what the engine reads
    [[nodiscard]] std::uint32_t Polarity() const;                 ///< as the engine has set it last; 0 at first
    void SetFormat(const SZtaWaveFormatInfo& format);             ///< relabels; the samples stay
    void SetFades(bool fadeIn, bool fadeOut);                     ///< asks for fades at the two ends

    // How often the engine has marked the start and the stop of its writing, and when last; the epoch of the clock
    // (CLOCK_MONOTONIC) if never.
    [[nodiscard]] int WriteStartMarks() const;              ///< start marks so far
    [[nodiscard]] int WriteStopMarks() const;               ///< stop marks so far
    [[nodiscard]] Clock::time_point LastWriteStart() const; ///< when the last start mark came
    [[nodiscard]] Clock::time_point LastWriteStop() const;  ///< when the last stop mark came

    /// Buffers of this process that are alive, derived ones included.
    [[nodiscard]] static long LiveCount();

protected:
    /// The object starts with one reference, its creator's. Throws std::bad_alloc.
    AudioBuffer(const SZtaWaveFormatInfo& format, std::size_t capacityBytes);

    /// Declared behind the interface's operations and nowhere above: it must not move their slots.
    virtual ~AudioBuffer();

private:
    struct Mark {
        std::atomic<int> count{0};
        std::atomic<Clock::rep> last{0};

        void Set();
    };

    int EndAccess(std::uint32_t one, std::uint32_t mask, int refusal);

    std::atomic<unsigned long> references_{1};
    std::byte* data_;
    std::size_t capacity_;
    std::size_t length_ = 0;
    SZtAudioSamplesDescription description_{};
    std::atomic<int> errorCode_{0};

    /// Open reads in the low half, open writes in the high half: one word, so that "none" is one value to wait for.
    std::atomic<std::uint32_t> open_{0};
    std::atomic<std::uint32_t> waiters_{0};
    std::atomic<int> violations_{0};
    Mark writeStart_;
    Mark writeStop_;
};

} // namespace zta::host
