/// Helpers of the tests of the kernel classes.
#pragma once

#include "kernels/audio_processing_util.h"
#include "testing/fake_audio_samples.h"
#include "testing/models/format_model.h"

#include <zta/status.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace zta::test {

using Bytes = std::vector<std::uint8_t>;
using Calls = std::vector<std::string>;
using Lengths = std::vector<unsigned long>;

/// Outputs hold this byte before a call that should leave them unchanged.
inline constexpr std::uint8_t kPoison = 0xA5;

/// A format that cannot be classified.
inline const SZtaWaveFormatInfo kUnclassifiedFormat = WaveFormat(1, 16, 16, 96000, 2);

/// The calls that query a buffer, and those of an output whose length is set.
inline const Calls kQueryCalls = {"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity"};
inline const Calls kQueryAndLengthCalls = {"GetAudioSamplesDescription", "GetBufferAndLength", "GetBufferCapacity",
                                           "SetLength"};

/// The record size that each query passes to the host.
inline const std::vector<std::uint32_t> kDescriptionSize = {40};

/// The status of each call that queries a buffer.
using QueryStatus = int FakeAudioSamples::*;
inline constexpr QueryStatus kQueryStatuses[] = {&FakeAudioSamples::descriptionStatus, &FakeAudioSamples::bufferStatus,
                                                 &FakeAudioSamples::capacityStatus};

/// Bytes of one generator with a fixed seed.
inline Bytes RandomBytes(std::size_t count)
{
    static std::mt19937 random(20);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

/// A buffer with random samples everywhere.
inline FakeAudioSamples RandomSamples(const SZtaWaveFormatInfo& format, unsigned long valid, unsigned long capacity)
{
    FakeAudioSamples samples(format, valid, capacity);
    samples.data = RandomBytes(samples.data.size());
    return samples;
}

/// Returns `bytes`, followed by poison up to `size`.
inline Bytes PadWithPoison(Bytes bytes, std::size_t size)
{
    bytes.resize(size, kPoison);
    return bytes;
}

/// A wave format of each property from 1 to 26.
inline SZtaWaveFormatInfo FormatOfProperty(int property)
{
    return property == 15 ? WaveFormat(1, 32, 24, 96000, 2)
                          : models::FormatOfProperty(static_cast<std::uint32_t>(property));
}

/// Expects one table entry for each case, in their order. `input` and `output` are the members with the properties.
template <class Kernel, class Cases, class Case, class Property>
void ExpectTableEntries(const Cases& cases, Property Case::*input, Property Case::*output)
{
    struct Open : Kernel {
        using Kernel::m_psProcessingFormats;
    };
    const Open kernel;
    ASSERT_EQ(static_cast<std::size_t>(kernel.m_psProcessingFormats->iFormatCount), std::size(cases));
    int i = 0;
    for (const Case& expected : cases) {
        const SZtAProcessingFormatAndFunctionIndex& entry = kernel.m_psProcessingFormats->psFormats[i];
        EXPECT_EQ(static_cast<int>(entry.eInputFormat), static_cast<int>(expected.*input)) << i;
        EXPECT_EQ(static_cast<int>(entry.eOutputFormat), static_cast<int>(expected.*output)) << i;
        EXPECT_EQ(entry.iFunctionIndex, i);
        ++i;
    }
}

} // namespace zta::test
