// Commands on files of every rate and number of channels, also where the engine has no operation for such buffers.
#include "tests/tools/command_test.h"

namespace {

const std::vector<int> kChannels = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 17, 24, 32, 33, 48, 63, 64};
const std::vector<int> kRates = {8000, 11025, 22050, 32000, 44100, 48000, 88200, 96000, 192000};
const std::vector<int> kSubtypes = {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT};

bool HasRawCode(const std::string& errors)
{
    return errors.find("ZT_E_") != std::string::npos;
}

class AnySound : public CommandTest {
protected:
    Sound Output(std::vector<std::string> arguments, const std::vector<std::string>& more = {})
    {
        Run(std::move(arguments), more);
        EXPECT_FALSE(HasRawCode(last_.errors)) << last_.errors;
        return last_.exitCode == 0 ? ReadSound(File("out.wav")) : Sound{};
    }

    /// Runs the one-to-one commands on the sound and compares each sample.
    void ExpectProcessed(const Sound& sound)
    {
        SCOPED_TRACE(std::to_string(sound.channels) + " channels, " + std::to_string(sound.rate) + " Hz, subtype " +
                     std::to_string(sound.Subtype()));
        const std::string in = Write("in.wav", sound);
        for (const std::string format : {"16", "24in32", "24in24", "float"}) {
            ExpectSame(Output({"convert", in, File("out.wav"), "--format", format}), Converted(sound, format));
        }
        ExpectSame(Output({"convert", in, File("out.wav"), "--format", "24in32", "--fade-in", "--fade-out"}),
                   Converted(sound, "24in32", true, true));
        Sound piece = sound;
        piece.samples.assign(sound.samples.begin() + 100 * sound.channels,
                             sound.samples.begin() + 300 * sound.channels);
        ExpectSame(Output({"trim", in, File("out.wav"), "--from", "100s", "--to", "300s"}), piece);
        if (sound.Subtype() != SF_FORMAT_FLOAT) {
            ExpectSame(Output({"volume", in, File("out.wav"), "--gain", "0.5"}),
                       Scaled(Converted(sound, "24in32"),
                              std::vector<GainRamp>(static_cast<std::size_t>(sound.channels), {2048, 2048})));
        }
    }

    /// Splits the sound and interleaves the channels again.
    void ExpectSplitAndJoined(const Sound& sound)
    {
        SCOPED_TRACE(std::to_string(sound.channels) + " channels, " + std::to_string(sound.rate) + " Hz, subtype " +
                     std::to_string(sound.Subtype()));
        const std::string in = Write("in.wav", sound);
        for (const int width : {1, 2}) {
            if (sound.channels % width != 0 || sound.channels < 2) {
                continue;
            }
            Run({"split", in, "-o", File("part-{}.wav")},
                width == 2 ? std::vector<std::string>{"--stereo"} : std::vector<std::string>{});
            EXPECT_FALSE(HasRawCode(last_.errors)) << last_.errors;
            std::vector<std::string> mux = {"mux", "-o", File("out.wav")};
            for (int i = 0; i < sound.channels / width; ++i) {
                mux.push_back(File("part-" + std::to_string(i + 1) + ".wav"));
                ExpectSame(ReadSound(mux.back()), Channels(sound, i * width, width));
            }
            ExpectSame(Output(mux), sound.Subtype() == SF_FORMAT_FLOAT ? Converted(sound, "24in32") : sound);
        }
    }
};

TEST_F(AnySound, IsProcessedWithEveryNumberOfChannels)
{
    for (const int channels : kChannels) {
        for (const int subtype : kSubtypes) {
            ExpectProcessed(Noise(subtype, channels, 450, channels % 2 == 0 ? 48000 : 44100));
        }
    }
}

TEST_F(AnySound, IsProcessedAtEveryRate)
{
    for (const int rate : kRates) {
        for (const int subtype : kSubtypes) {
            ExpectProcessed(Noise(subtype, 2, 450, rate));
        }
    }
}

TEST_F(AnySound, IsSplitAndJoined)
{
    for (const int channels : kChannels) {
        for (const int subtype : kSubtypes) {
            ExpectSplitAndJoined(Noise(subtype, channels, 101, channels % 3 == 0 ? 96000 : 48000));
        }
    }
}

TEST_F(AnySound, IsJoinedToStereoAtEveryRate)
{
    for (const int rate : kRates) {
        const Sound both = Noise(SF_FORMAT_PCM_24, 2, 301, rate);
        const auto in = Write({Channels(both, 0, 1), Channels(both, 1, 1)});
        ExpectSame(Output({"stereo", in[0], in[1], File("out.wav")}), both);
    }
}

// A fade is 200 frames long, whatever the number of channels.
TEST_F(AnySound, IsFadedAlsoIfItIsShort)
{
    for (const int channels : {1, 2, 3, 8, 17, 64}) {
        for (const long frames : {1L, 199L, 201L, 399L}) {
            const Sound sound = Noise(SF_FORMAT_PCM_16, channels, frames, 44100);
            SCOPED_TRACE(std::to_string(channels) + " channels, frames " + std::to_string(frames));
            const std::string in = Write("in.wav", sound);
            ExpectSame(Output({"convert", in, File("out.wav"), "--fade-in"}), Converted(sound, "16", true, false));
            ExpectSame(Output({"convert", in, File("out.wav"), "--fade-out"}), Converted(sound, "16", false, true));
            ExpectSame(Output({"convert", in, File("out.wav"), "--fade-in", "--fade-out"}),
                       Converted(sound, "16", true, true));
        }
    }
}

TEST_F(AnySound, IsResampledInEveryFormatAndWidth)
{
    for (const int rate : {44100, 48000}) {
        const std::string other = rate == 44100 ? "48000" : "44100";
        for (const int subtype : kSubtypes) {
            for (const int channels : {1, 2, 3, 6, 64}) {
                SCOPED_TRACE(channels);
                const Sound sound = Noise(subtype, channels, 1000, rate);
                const Sound narrow = Converted(sound, "16");
                const Sound out = Output({"resample", Write("in.wav", sound), File("out.wav"), "--rate", other});
                for (int channel = 0; channel < channels; channel += 31) {
                    Write("one.wav", Channels(narrow, channel, 1));
                    ExpectSame(Channels(out, channel, 1),
                               Output({"resample", File("one.wav"), File("out.wav"), "--rate", other}));
                }
                const Sound chained =
                    Output({"convert", File("in.wav"), File("out.wav"), "--rate", other, "--format", "24in32"});
                ExpectSame(chained, Converted(out, "24in32"));
            }
        }
    }
}

TEST_F(AnySound, IsNotedOnceIfTheEngineHasNoSuchFormat)
{
    const auto note = [this](const Sound& sound) {
        Output({"convert", Write("in.wav", sound), File("out.wav"), "--format", "24in32"});
        return last_.errors;
    };
    EXPECT_EQ(note(Noise(SF_FORMAT_PCM_16, 2, 10)), "");
    EXPECT_EQ(note(Noise(SF_FORMAT_PCM_16, 6, 10, 44100)),
              "ztaudio: note: " + File("in.wav") +
                  ": the engine has no operations for 16-in-16 6 channels, 44100 Hz; the samples are processed as "
                  "another format at 48000 Hz, and the output keeps rate and channels\n");
}

} // namespace
