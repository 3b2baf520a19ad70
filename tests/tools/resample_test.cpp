// ztaudio resample on good input: lengths, blocks, channels, the tail, and the quality of a tone.
#include "tests/tools/command_test.h"
#include "tests/tools/tones.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr int kRates[] = {44100, 48000};

int Other(int rate)
{
    return rate == 44100 ? 48000 : 44100;
}

class Resample : public CommandTest {
protected:
    Sound Resampled(const Sound& sound, const std::vector<std::string>& options = {})
    {
        return Output(
            {"resample", Write("in.wav", sound), File("out.wav"), "--rate", std::to_string(Other(sound.rate))},
            options);
    }
};

/// Frames of the same duration at the other rate, to the nearest.
long Expected(long frames, int rate)
{
    return std::lround(static_cast<double>(frames) * Other(rate) / rate);
}

TEST_F(Resample, GivesTheSameForEveryBlockSize)
{
    for (const int rate : kRates) {
        for (const int channels : {1, 2}) {
            SCOPED_TRACE(rate + channels);
            const Sound sound = Noise(SF_FORMAT_PCM_16, channels, 3001, rate);
            const Sound reference = Resampled(sound);
            EXPECT_EQ(last_.errors, "");
            EXPECT_EQ(reference.rate, Other(rate));
            EXPECT_EQ(reference.channels, channels);
            for (const std::string block : {"1", "7", "16", "17", "18", "160", "1024", "100000"}) {
                SCOPED_TRACE(block);
                ExpectSame(Resampled(sound, {"--block", block}), reference);
            }
        }
    }
}

// Longer than one buffer of the engine.
TEST_F(Resample, DividesBlocksThatAreTooLargeForTheEngine)
{
    for (const int rate : kRates) {
        for (const int channels : {1, 2}) {
            const Sound sound = Noise(SF_FORMAT_PCM_16, channels, 190001, rate);
            const Sound reference = Resampled(sound, {"--block", "1024"});
            ExpectSame(Resampled(sound, {"--block", "88199"}), reference);
            ExpectSame(Resampled(sound, {"--block", "88200"}), reference);
            ExpectSame(Resampled(sound, {"--block", "192000"}), reference);
        }
    }
}

TEST_F(Resample, KeepsTheDurationToTheNearestFrame)
{
    for (const int rate : kRates) {
        for (const int channels : {1, 2}) {
            for (const long frames : {0L, 1L, 2L, 16L, 17L, 18L, 34L, 35L, 36L, 40L, 80L, 147L, 160L, 4096L, 8191L}) {
                for (const std::string block : {"1", "4096"}) {
                    SCOPED_TRACE(frames);
                    const Sound out = Resampled(Noise(SF_FORMAT_PCM_16, channels, frames, rate), {"--block", block});
                    EXPECT_EQ(out.Frames(), Expected(frames, rate));
                    EXPECT_EQ(out.rate, Other(rate));
                }
            }
        }
    }
}

// Each output but the last ones lies where every sample that it depends on is of the one level.
TEST_F(Resample, KeepsAConstantLevelFromTheFirstFrame)
{
    for (const int rate : kRates) {
        const Sound sound{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, rate, std::vector<std::int32_t>(1000, 20000)};
        const Sound out = Resampled(sound);
        for (std::size_t i = 0; i + 20 < out.samples.size(); ++i) {
            EXPECT_NEAR(out.samples[i], 20000, 10) << i;
        }
    }
}

TEST_F(Resample, ResamplesEachChannelOfStereoAsItDoesMono)
{
    for (const int rate : kRates) {
        const Sound stereo = Noise(SF_FORMAT_PCM_16, 2, 5000, rate);
        const Sound out = Resampled(stereo);
        for (const int channel : {0, 1}) {
            ExpectSame(Channels(out, channel, 1), Resampled(Channels(stereo, channel, 1)));
        }
    }
}

// An impulse stays in its place, up to the last frames of a sound.
TEST_F(Resample, BringsOutTheTail)
{
    for (const int rate : kRates) {
        for (const long fromEnd : {2L, 5L, 15L, 16L, 17L, 20L, 40L}) {
            SCOPED_TRACE(fromEnd);
            Sound sound{SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, rate, std::vector<std::int32_t>(1000)};
            sound.samples[static_cast<std::size_t>(1000 - fromEnd)] = 20000;
            const Sound out = Resampled(sound);
            const auto highest = std::ranges::max_element(out.samples) - out.samples.begin();
            EXPECT_EQ(highest, Expected(1000 - fromEnd, rate));
            EXPECT_GT(out.samples[static_cast<std::size_t>(highest)], 12000);
        }
    }
}

TEST_F(Resample, ThereAndBackGivesTheSoundAgain)
{
    for (const int rate : kRates) {
        const Sound sound = Tone(997, -6, 2, rate);
        const Sound there = Resampled(sound);
        const Sound back = Resampled(there);
        ASSERT_EQ(back.samples.size(), sound.samples.size());
        for (std::size_t i = 20; i + 20 < sound.samples.size(); ++i) { // silence follows abruptly
            ASSERT_NEAR(back.samples[i], sound.samples[i], 16) << i;
        }
    }
}

TEST_F(Resample, ConvertsOtherFormatsTo16Bits)
{
    for (const int subtype : {SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
        for (const int channels : {1, 2}) {
            const Sound sound = Noise(subtype, channels, 5000, 48000);
            const Sound out = Resampled(sound);
            EXPECT_EQ(last_.errors, "ztaudio: note: 16-bit samples are resampled, so " + File("in.wav") +
                                        " is converted to 16 bits first\n");
            ExpectSame(out, Resampled(Converted(sound, "16")));
        }
    }
}

TEST_F(Resample, CarriesOverTheTitle)
{
    Write("in.wav", Tone(997, -1, 100));
    SF_INFO info{};
    SNDFILE* file = sf_open(File("in.wav").c_str(), SFM_RDWR, &info);
    ASSERT_NE(file, nullptr);
    sf_set_string(file, SF_STR_TITLE, "Morning");
    sf_close(file);
    Run({"resample", File("in.wav"), File("out.flac"), "--rate", "44100"});
    file = sf_open(File("out.flac").c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr);
    EXPECT_STREQ(sf_get_string(file, SF_STR_TITLE), "Morning");
    EXPECT_EQ(info.format, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    sf_close(file);
}

TEST_F(Resample, CountsFloatsBeyondFullScale)
{
    Sound sound = Converted(Noise(SF_FORMAT_PCM_16, 1, 100), "float");
    sound.samples[50] = std::bit_cast<std::int32_t>(1.5F);
    Resampled(sound);
    EXPECT_NE(last_.errors.find("1 sample beyond full scale clipped"), std::string::npos) << last_.errors;
}

// Measured: 79.9 dB upwards and 80.3 dB downwards. The taps have 14 fraction bits; their errors, of 0.29 units root
// mean square in 32 taps, alone leave 10 log10(2^28 / (32 / 12)) = 80.0 dB.
TEST_F(Resample, KeepsTheQualityOfATone)
{
    for (const int rate : kRates) {
        Write("tone.wav", Resampled(Tone(997, -1, 6 * rate, rate)));
        const auto figures = Analysed(File("tone.wav"));
        EXPECT_NEAR(figures.at("frequency_hz"), 997, 0.01);
        EXPECT_NEAR(figures.at("tone_level_dbfs"), -1, 0.01);
        EXPECT_GT(figures.at("signal_to_noise_db"), 79.5);
        EXPECT_LT(figures.at("thd_n_db"), -79.5);
    }
}

} // namespace
