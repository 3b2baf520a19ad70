/// A buffer that notices what it should not see: writes beside its samples.
#pragma once

#include "host/formats.h"
#include "host/recording_host.h"

#include <cstdint>
#include <random>
#include <vector>

namespace zta::validate {

using Bytes = std::vector<std::uint8_t>;

/// Its samples stand between two guard zones, `shift` bytes in front of a multiple of 64.
class GuardedBuffer : public host::RecordingBuffer {
public:
    static host::Ref<GuardedBuffer> Create(host::CallLog& journal, std::string name, const SZtaWaveFormatInfo& format,
                                           std::size_t capacityBytes, std::size_t shift);

    int GetBufferAndLength(void** data, unsigned long* lengthBytes) override;
    int GetBufferCapacity(unsigned long* capacityBytes) override;
    int SetLength(unsigned long lengthBytes) override;

    /// All bytes up to the capacity.
    [[nodiscard]] Bytes Content() const;
    /// Replaces the beginning.
    void SetContent(const Bytes& bytes);
    [[nodiscard]] bool IsGuardIntact() const;

protected:
    GuardedBuffer(host::CallLog& journal, std::string name, const SZtaWaveFormatInfo& format, std::size_t capacityBytes,
                  std::size_t shift);

private:
    std::size_t begin_;
    std::size_t size_;
};

/// Random samples of a format; floats stay inside full scale.
Bytes RandomSamples(std::mt19937_64& random, const SZtaWaveFormatInfo& format, std::size_t bytes);

} // namespace zta::validate
