/// Encoders that write in order, so that the output can be a pipe.
#pragma once

#include "tools/common/output_file.h"
#include "tools/ztaudio/sample_format.h"

#include <sndfile.h>

#include <cstddef>
#include <memory>
#include <span>

class StreamEncoder {
public:
    StreamEncoder() = default;
    virtual ~StreamEncoder() = default;
    StreamEncoder(const StreamEncoder&) = delete;
    StreamEncoder& operator=(const StreamEncoder&) = delete;

    /// Writes samples. Failures are reported by the target.
    virtual void Write(std::span<const std::byte> samples) = 0;
    virtual void Finish() = 0;
};

/// Samples as they are, without a header.
std::unique_ptr<StreamEncoder> MakeRawEncoder(OutputTarget& target, SampleFormat format);

/// WAV and AU. If the number of frames is 0, or too large for the container, the header has the sizes of a stream whose
/// length is not known.
std::unique_ptr<StreamEncoder> MakeWavEncoder(OutputTarget& target, SampleFormat format, std::uint32_t channels,
                                              std::uint32_t rate, sf_count_t frames);
std::unique_ptr<StreamEncoder> MakeAuEncoder(OutputTarget& target, SampleFormat format, std::uint32_t channels,
                                             std::uint32_t rate, sf_count_t frames);
