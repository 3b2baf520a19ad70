/// Comparison of samples that reports where they differ.
#pragma once

#include "tools/ztvalidate/guarded_buffer.h"

#include <zta/audio_records.h>

#include <string>

namespace zta::validate {

/// The seed of the random samples and the buffer, for the report.
struct ComparisonContext {
    std::string what;   ///< the call and the buffer, for example "a copy: destination"
    std::uint64_t seed; ///< of the random samples
};

/// Throws CheckFailure unless the bytes are equal. The text names channel, frame, the found and the expected value of
/// the first sample that differs, how many differ, and the seed.
void RequireSameSamples(const Bytes& found, const Bytes& expected, const SZtaWaveFormatInfo& format,
                        const ComparisonContext& context);

} // namespace zta::validate
