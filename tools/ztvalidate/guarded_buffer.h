/// A buffer of a call. Detects writes outside its samples, and can behave in unusual ways that the contract permits.
#pragma once

#include "host/formats.h"
#include "host/recording_host.h"

#include <cstdint>
#include <random>
#include <vector>

namespace zta::validate {

using Bytes = std::vector<std::uint8_t>;

/// Its samples are between two ranges of guard bytes, `shift` bytes before a multiple of 64.
class GuardedBuffer : public host::RecordingBuffer {
public:
    static host::Ref<GuardedBuffer> Create(host::CallLog& callLog, std::string name, const SZtaWaveFormatInfo& format,
                                           std::size_t capacityBytes, std::size_t shift);

    int GetAudioSamplesDescription(SZtAudioSamplesDescription* description) override;
    int GetBufferAndLength(void** data, unsigned long* lengthBytes) override;
    int GetBufferCapacity(unsigned long* capacityBytes) override;
    int SetLength(unsigned long lengthBytes) override;

    /// All bytes up to the capacity.
    [[nodiscard]] Bytes Content() const;
    /// Replaces the first bytes.
    void SetContent(const Bytes& bytes);
    [[nodiscard]] bool IsGuardIntact() const;

    /// Returns null as the address of its samples.
    void HideAddress() { hasAddress_ = false; }
    /// Returns this status code, which must not be negative, from SetLength.
    void SetLengthStatus(int status) { lengthStatus_ = status; }
    /// Overwrites the size field of each record that it fills, as a host may.
    void OverwriteRecordSizes() { overwritesSizes_ = true; }

    /// Requests for its description so far, and those whose size field was wrong.
    [[nodiscard]] int DescriptionRequests() const { return descriptionRequests_; }
    [[nodiscard]] int WrongRecordSizes() const { return wrongRecordSizes_; }

protected:
    GuardedBuffer(host::CallLog& callLog, std::string name, const SZtaWaveFormatInfo& format, std::size_t capacityBytes,
                  std::size_t shift);

private:
    std::size_t begin_;
    std::size_t size_;
    bool hasAddress_ = true;
    bool overwritesSizes_ = false;
    int lengthStatus_ = 0;
    int descriptionRequests_ = 0;
    int wrongRecordSizes_ = 0;
};

/// Random samples of a format; floats are within full scale.
Bytes RandomSamples(std::mt19937_64& random, const SZtaWaveFormatInfo& format, std::size_t bytes);

} // namespace zta::validate
