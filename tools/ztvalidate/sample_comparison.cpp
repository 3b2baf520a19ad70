#include "tools/ztvalidate/sample_comparison.h"

#include "tools/ztvalidate/check.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

namespace zta::validate {

namespace {

/// The value of a sample as people read it, and the bits of its container.
std::string SampleText(const std::uint8_t* sample, const SZtaWaveFormatInfo& format)
{
    const std::size_t bytes = format.ulBitsPerSample / 8;
    std::uint32_t bits = 0;
    std::memcpy(&bits, sample, std::min(bytes, sizeof(bits)));
    char text[64];
    const int digits = static_cast<int>(2 * bytes);
    if (format.eDataType == keZtAudioDataTypeFloat) {
        std::snprintf(text, sizeof(text), "%.9g (0x%08X)", static_cast<double>(std::bit_cast<float>(bits)), bits);
    } else if (format.eDataType == keZtAudioDataTypePcm) {
        // MSB-aligned in 32 bits, then the valid bits only.
        const auto aligned = static_cast<std::int32_t>(std::uint64_t{bits} << (32 - 8 * bytes));
        std::snprintf(text, sizeof(text), "%d (0x%0*X)", aligned >> (32 - format.ulValidBitsPerSample), digits, bits);
    } else {
        std::snprintf(text, sizeof(text), "0x%0*X", digits, bits);
    }
    return text;
}

} // namespace

void RequireSameSamples(const Bytes& found, const Bytes& expected, const SZtaWaveFormatInfo& format,
                        const ComparisonContext& context)
{
    Require(found.size() == expected.size(), context.what + ": " + std::to_string(found.size()) + " bytes, expected " +
                                                 std::to_string(expected.size()) + "; seed " +
                                                 std::to_string(context.seed));
    if (found == expected) {
        return;
    }
    const std::size_t bytes = std::max<std::size_t>(format.ulBitsPerSample / 8, 1);
    const std::size_t channels = std::max<std::size_t>(format.ulChannels, 1);
    const std::size_t samples = found.size() / bytes;
    std::size_t differing = 0;
    std::size_t first = samples;
    for (std::size_t i = 0; i < samples; ++i) {
        if (!std::equal(&found[i * bytes], &found[i * bytes] + bytes, &expected[i * bytes])) {
            first = std::min(first, i);
            ++differing;
        }
    }
    Require(differing != 0, context.what + ": the bytes after the last sample differ");
    throw CheckFailure(context.what + ": channel " + std::to_string(first % channels) + ", frame " +
                       std::to_string(first / channels) + ": found " + SampleText(&found[first * bytes], format) +
                       ", expected " + SampleText(&expected[first * bytes], format) + "; " + std::to_string(differing) +
                       " of " + std::to_string(samples) + " samples differ; seed " + std::to_string(context.seed));
}

} // namespace zta::validate
