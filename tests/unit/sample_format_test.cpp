#include "kernels/audio_processing_util.h"

#include "testing/fake_audio_samples.h"
#include "testing/models/format_model.h"

#include <zta/status.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct Classified {
    int status;
    std::uint32_t property;

    bool operator==(const Classified&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Classified& classified)
{
    return out << "status " << std::hex << classified.status << std::dec << " property " << classified.property;
}

constexpr Classified kRejected{static_cast<int>(0x8999803A), 0};

Classified Accepted(std::uint32_t property)
{
    return {0, property};
}

/// Calls the function with an output value that it never returns.
Classified Classify(SZtaWaveFormatInfo format)
{
    CZtaAudioProcessingUtil util;
    auto property = static_cast<EZtAudioSampleFormatProperty>(0xDEAD);
    const int status = util.GetSampleFormat(&format, &property);
    return {status, property};
}

Classified Classify(std::uint32_t type, std::uint32_t container, std::uint32_t valid, std::uint32_t rate,
                    std::uint32_t channels)
{
    return Classify(WaveFormat(type, container, valid, rate, channels));
}

Classified Model(std::uint32_t type, std::uint32_t container, std::uint32_t valid, std::uint32_t rate,
                 std::uint32_t channels)
{
    const auto property = models::Property(type, container, valid, rate, channels);
    return property ? Accepted(*property) : kRejected;
}

TEST(SampleFormat, NumbersThePropertiesFrom0To26)
{
    EXPECT_EQ(kSampleFormatCount, 27);
    EXPECT_EQ(sizeof(EZtAudioSampleFormatProperty), 4u);
    EXPECT_EQ(keZtAudioSampleFormatInvalid, 0u);
    EXPECT_EQ(keZtAudioSampleFormat16In16Mono, 1u);
    EXPECT_EQ(keZtAudioSampleFormat16In16Stereo, 2u);
    EXPECT_EQ(keZtAudioSampleFormat16In16Mux4, 3u);
    EXPECT_EQ(keZtAudioSampleFormat16In16Mux8, 4u);
    EXPECT_EQ(keZtAudioSampleFormat16In16Mux16, 5u);
    EXPECT_EQ(keZtAudioSampleFormat16In16Mux32, 6u);
    EXPECT_EQ(keZtAudioSampleFormat16In16Mux64, 7u);
    EXPECT_EQ(keZtAudioSampleFormat24In32Mono, 8u);
    EXPECT_EQ(keZtAudioSampleFormat24In32Stereo, 9u);
    EXPECT_EQ(keZtAudioSampleFormat24In32Mux4, 10u);
    EXPECT_EQ(keZtAudioSampleFormat24In32Mux8, 11u);
    EXPECT_EQ(keZtAudioSampleFormat24In32Mux16, 12u);
    EXPECT_EQ(keZtAudioSampleFormat24In32Mux32, 13u);
    EXPECT_EQ(keZtAudioSampleFormat24In32Mux64, 14u);
    EXPECT_EQ(keZtAudioSampleFormat24In32Other, 15u);
    EXPECT_EQ(keZtAudioSampleFormatFloat32Mono, 16u);
    EXPECT_EQ(keZtAudioSampleFormatFloat32Stereo, 17u);
    EXPECT_EQ(keZtAudioSampleFormat16In16Mono44k, 18u);
    EXPECT_EQ(keZtAudioSampleFormat16In16Stereo44k, 19u);
    EXPECT_EQ(keZtAudioSampleFormat24In24Mono, 20u);
    EXPECT_EQ(keZtAudioSampleFormat24In24Stereo, 21u);
    EXPECT_EQ(keZtAudioSampleFormat24In24Mux4, 22u);
    EXPECT_EQ(keZtAudioSampleFormat24In24Mux8, 23u);
    EXPECT_EQ(keZtAudioSampleFormat24In24Mux16, 24u);
    EXPECT_EQ(keZtAudioSampleFormat24In24Mux32, 25u);
    EXPECT_EQ(keZtAudioSampleFormat24In24Mux64, 26u);
}

TEST(SampleFormat, HasOneCompleteFormatForEachProperty)
{
    // size, channels, type, rate, container, valid bits
    constexpr std::uint32_t kExpected[27][6] = {
        {24, 0, 0, 0, 0, 0},        {24, 1, 1, 48000, 16, 16},  {24, 2, 1, 48000, 16, 16},  {24, 4, 1, 48000, 16, 16},
        {24, 8, 1, 48000, 16, 16},  {24, 16, 1, 48000, 16, 16}, {24, 32, 1, 48000, 16, 16}, {24, 64, 1, 48000, 16, 16},
        {24, 1, 1, 48000, 32, 24},  {24, 2, 1, 48000, 32, 24},  {24, 4, 1, 48000, 32, 24},  {24, 8, 1, 48000, 32, 24},
        {24, 16, 1, 48000, 32, 24}, {24, 32, 1, 48000, 32, 24}, {24, 64, 1, 48000, 32, 24}, {24, 0, 1, 48000, 32, 24},
        {24, 1, 2, 48000, 32, 32},  {24, 2, 2, 48000, 32, 32},  {24, 1, 1, 44100, 16, 16},  {24, 2, 1, 44100, 16, 16},
        {24, 1, 1, 48000, 24, 24},  {24, 2, 1, 48000, 24, 24},  {24, 4, 1, 48000, 24, 24},  {24, 8, 1, 48000, 24, 24},
        {24, 16, 1, 48000, 24, 24}, {24, 32, 1, 48000, 24, 24}, {24, 64, 1, 48000, 24, 24},
    };
    static_assert(sizeof kExpected == sizeof g_asFormatOfProperty);
    for (std::size_t i = 0; i < 27; ++i) {
        EXPECT_EQ(std::memcmp(&g_asFormatOfProperty[i], kExpected[i], sizeof kExpected[i]), 0) << "property " << i;
    }
}

TEST(SampleFormat, ReturnsThePropertyOfEachFormatOfTheTable)
{
    EXPECT_EQ(Classify(g_asFormatOfProperty[0]), kRejected);
    for (std::uint32_t property = 1; property < 27; ++property) {
        EXPECT_EQ(Classify(g_asFormatOfProperty[property]), Accepted(property));
    }
}

TEST(SampleFormat, ClassifiesEveryCombinationLikeTheModel)
{
    for (const std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 5u, 9u}) {
        for (const std::uint32_t container : {0u, 8u, 16u, 20u, 24u, 32u, 64u}) {
            for (const std::uint32_t valid : {0u, 8u, 16u, 20u, 24u, 32u}) {
                for (const std::uint32_t rate : {0u, 44100u, 48000u, 96000u}) {
                    for (std::uint32_t channels = 0; channels <= 65; ++channels) {
                        ASSERT_EQ(Classify(type, container, valid, rate, channels),
                                  Model(type, container, valid, rate, channels))
                            << "type " << type << " container " << container << " valid " << valid << " rate " << rate
                            << " channels " << channels;
                    }
                }
            }
        }
    }
}

TEST(SampleFormat, RejectsChannelCountsFarBeyondTheTable)
{
    for (const std::uint32_t channels : {128u, 256u, 0x10001u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Classify(1, 16, 16, 48000, channels), kRejected) << channels;
        EXPECT_EQ(Classify(1, 24, 24, 48000, channels), kRejected) << channels;
        EXPECT_EQ(Classify(1, 32, 24, 48000, channels), Accepted(15)) << channels;
    }
}

TEST(SampleFormat, DoesNotReadTheRecordSizeNorWriteTheRecord)
{
    CZtaAudioProcessingUtil util;
    SZtaWaveFormatInfo format = WaveFormat(1, 16, 16, 48000, 2);
    format.ulSize = 7;
    const SZtaWaveFormatInfo before = format;
    EZtAudioSampleFormatProperty property{};
    EXPECT_EQ(util.GetSampleFormat(&format, &property), 0);
    EXPECT_EQ(property, keZtAudioSampleFormat16In16Stereo);
    EXPECT_EQ(std::memcmp(&format, &before, sizeof format), 0);
}

// Results that look wrong but are required.

TEST(SampleFormat, ClassifiesPcm16In32MonoAndStereoAs16In16)
{
    EXPECT_EQ(Classify(1, 32, 16, 48000, 1), Accepted(1));
    EXPECT_EQ(Classify(1, 32, 16, 48000, 2), Accepted(2));
    EXPECT_EQ(Classify(1, 32, 16, 48000, 4), kRejected);
}

TEST(SampleFormat, ClassifiesMultiFormat16In32MonoAndStereoAs16In16)
{
    EXPECT_EQ(Classify(3, 32, 16, 48000, 1), Accepted(1));
    EXPECT_EQ(Classify(3, 32, 16, 48000, 2), Accepted(2));
    EXPECT_EQ(Classify(3, 32, 16, 48000, 4), kRejected);
    EXPECT_EQ(Classify(3, 16, 16, 48000, 2), kRejected);
}

TEST(SampleFormat, ClassifiesMultiFormat24In32AsPcm)
{
    EXPECT_EQ(Classify(3, 32, 24, 48000, 1), Accepted(8));
    EXPECT_EQ(Classify(3, 32, 24, 48000, 64), Accepted(14));
    EXPECT_EQ(Classify(3, 32, 24, 48000, 3), Accepted(15));
}

TEST(SampleFormat, RejectsPcm16In32At44100)
{
    EXPECT_EQ(Classify(1, 32, 16, 44100, 1), kRejected);
    EXPECT_EQ(Classify(1, 32, 16, 44100, 2), kRejected);
}

TEST(SampleFormat, Classifies20ValidBitsAs24InMonoAndStereoAt48000Only)
{
    EXPECT_EQ(Classify(1, 32, 20, 48000, 1), Accepted(8));
    EXPECT_EQ(Classify(1, 32, 20, 48000, 2), Accepted(9));
    EXPECT_EQ(Classify(1, 32, 20, 48000, 4), kRejected);
    EXPECT_EQ(Classify(1, 32, 20, 44100, 2), kRejected);
    EXPECT_EQ(Classify(3, 32, 20, 48000, 2), kRejected);
}

TEST(SampleFormat, ClassifiesOtherContainersOf32BitsWith24ValidBitsAsOther)
{
    EXPECT_EQ(Classify(2, 32, 24, 44100, 6), Accepted(15));
    EXPECT_EQ(Classify(2, 32, 24, 48000, 2), Accepted(15));
    EXPECT_EQ(Classify(9, 32, 24, 48000, 2), Accepted(15));
    EXPECT_EQ(Classify(9, 16, 24, 48000, 2), kRejected);
    EXPECT_EQ(Classify(4, 32, 24, 48000, 1), Accepted(15));
    EXPECT_EQ(Classify(1, 32, 24, 96000, 2), Accepted(15));
}

TEST(SampleFormat, RejectsPacked24BitsAt44100)
{
    EXPECT_EQ(Classify(1, 24, 24, 44100, 1), kRejected);
    EXPECT_EQ(Classify(1, 24, 24, 44100, 2), kRejected);
}

} // namespace
