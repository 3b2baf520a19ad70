#include "kernels/audio_processing_util.h"

#include "testing/fake_audio_samples.h"
#include "testing/models/format_model.h"

#include <zta/status.h>

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>

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

Classified Model(const SZtaWaveFormatInfo& format)
{
    const auto property = models::Property(format);
    return property ? Accepted(*property) : kRejected;
}

TEST(SampleFormat, NumbersThePropertiesFrom0To26)
{
    constexpr EZtAudioSampleFormatProperty kProperties[] = {
        keZtAudioSampleFormatInvalid,       keZtAudioSampleFormat16In16Mono,      keZtAudioSampleFormat16In16Stereo,
        keZtAudioSampleFormat16In16Mux4,    keZtAudioSampleFormat16In16Mux8,      keZtAudioSampleFormat16In16Mux16,
        keZtAudioSampleFormat16In16Mux32,   keZtAudioSampleFormat16In16Mux64,     keZtAudioSampleFormat24In32Mono,
        keZtAudioSampleFormat24In32Stereo,  keZtAudioSampleFormat24In32Mux4,      keZtAudioSampleFormat24In32Mux8,
        keZtAudioSampleFormat24In32Mux16,   keZtAudioSampleFormat24In32Mux32,     keZtAudioSampleFormat24In32Mux64,
        keZtAudioSampleFormat24In32Other,   keZtAudioSampleFormatFloat32Mono,     keZtAudioSampleFormatFloat32Stereo,
        keZtAudioSampleFormat16In16Mono44k, keZtAudioSampleFormat16In16Stereo44k, keZtAudioSampleFormat24In24Mono,
        keZtAudioSampleFormat24In24Stereo,  keZtAudioSampleFormat24In24Mux4,      keZtAudioSampleFormat24In24Mux8,
        keZtAudioSampleFormat24In24Mux16,   keZtAudioSampleFormat24In24Mux32,     keZtAudioSampleFormat24In24Mux64};
    EXPECT_EQ(kSampleFormatCount, 27);
    EXPECT_EQ(sizeof(EZtAudioSampleFormatProperty), 4u);
    ASSERT_EQ(std::size(kProperties), 27u);
    for (std::uint32_t i = 0; i < 27; ++i) {
        EXPECT_EQ(kProperties[i], i);
    }
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
                        const SZtaWaveFormatInfo format = WaveFormat(type, container, valid, rate, channels);
                        ASSERT_EQ(Classify(format), Model(format))
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
        EXPECT_EQ(Classify(WaveFormat(1, 16, 16, 48000, channels)), kRejected) << channels;
        EXPECT_EQ(Classify(WaveFormat(1, 24, 24, 48000, channels)), kRejected) << channels;
        EXPECT_EQ(Classify(WaveFormat(1, 32, 24, 48000, channels)), Accepted(15)) << channels;
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

TEST(SampleFormat, HasRequiredResultsThatLookWrong)
{
    const struct {
        SZtaWaveFormatInfo format;
        std::uint32_t property; ///< 0 if the format is rejected
    } cases[] = {
        // PCM and multi-format words of 16-in-32, mono and stereo, are 16-in-16.
        {WaveFormat(1, 32, 16, 48000, 1), 1},
        {WaveFormat(1, 32, 16, 48000, 2), 2},
        {WaveFormat(1, 32, 16, 48000, 4), 0},
        {WaveFormat(1, 32, 16, 44100, 1), 0},
        {WaveFormat(1, 32, 16, 44100, 2), 0},
        {WaveFormat(3, 32, 16, 48000, 1), 1},
        {WaveFormat(3, 32, 16, 48000, 2), 2},
        {WaveFormat(3, 32, 16, 48000, 4), 0},
        {WaveFormat(3, 16, 16, 48000, 2), 0},
        // Multi-format words of 24-in-32 are PCM.
        {WaveFormat(3, 32, 24, 48000, 1), 8},
        {WaveFormat(3, 32, 24, 48000, 64), 14},
        {WaveFormat(3, 32, 24, 48000, 3), 15},
        // 20 valid bits are 24 for mono and stereo at 48000 Hz only.
        {WaveFormat(1, 32, 20, 48000, 1), 8},
        {WaveFormat(1, 32, 20, 48000, 2), 9},
        {WaveFormat(1, 32, 20, 48000, 4), 0},
        {WaveFormat(1, 32, 20, 44100, 2), 0},
        {WaveFormat(3, 32, 20, 48000, 2), 0},
        // Any other container of 32 bits with 24 valid bits is "other".
        {WaveFormat(2, 32, 24, 44100, 6), 15},
        {WaveFormat(2, 32, 24, 48000, 2), 15},
        {WaveFormat(9, 32, 24, 48000, 2), 15},
        {WaveFormat(9, 16, 24, 48000, 2), 0},
        {WaveFormat(4, 32, 24, 48000, 1), 15},
        {WaveFormat(1, 32, 24, 96000, 2), 15},
        // 24-in-24 exists at 48000 Hz only.
        {WaveFormat(1, 24, 24, 44100, 1), 0},
        {WaveFormat(1, 24, 24, 44100, 2), 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Classify(c.format), c.property != 0 ? Accepted(c.property) : kRejected) << &c - cases;
    }
}

} // namespace
