// Files that other programs made: each goes through every command that `info` lists for it.
#include "tests/tools/command_test.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace {

/// The file as the tool reads it: 16 bits, 24 bits or floats.
Sound ReadReference(const std::string& path)
{
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
    if (file == nullptr) {
        return {};
    }
    Sound sound{SF_FORMAT_WAV | SF_FORMAT_PCM_16, info.channels, info.samplerate, {}};
    const sf_count_t count = info.frames * info.channels;
    sound.samples.resize(static_cast<std::size_t>(count));
    const int subtype = info.format & SF_FORMAT_SUBMASK;
    if (subtype == SF_FORMAT_PCM_24 || subtype == SF_FORMAT_PCM_32) {
        sound.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
        EXPECT_EQ(sf_read_int(file, sound.samples.data(), count), count);
        std::ranges::for_each(sound.samples, [](std::int32_t& sample) { sample &= ~0xFF; });
    } else if (subtype == SF_FORMAT_FLOAT || subtype == SF_FORMAT_DOUBLE || subtype == SF_FORMAT_VORBIS ||
               subtype == SF_FORMAT_OPUS || subtype == SF_FORMAT_MPEG_LAYER_II || subtype == SF_FORMAT_MPEG_LAYER_III) {
        sound.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        std::vector<float> floats(sound.samples.size());
        EXPECT_EQ(sf_read_float(file, floats.data(), count), count);
        std::ranges::transform(floats, sound.samples.begin(),
                               [](float value) { return std::bit_cast<std::int32_t>(value); });
    } else {
        std::vector<short> samples(sound.samples.size());
        EXPECT_EQ(sf_read_short(file, samples.data(), count), count);
        std::ranges::copy(samples, sound.samples.begin());
    }
    sf_close(file);
    return sound;
}

bool IsFloat(const Sound& sound)
{
    return sound.Subtype() == SF_FORMAT_FLOAT;
}

/// What the conversion must give, with floats beyond full scale clipped.
Sound ConvertedTo(const Sound& sound, const std::string& format)
{
    return Converted(IsFloat(sound) && format != "float" ? Limited(sound, format) : sound, format);
}

/// Each sample must be the product, rounded towards minus infinity to 24 bits. The bits that a float loses on its way
/// to the engine can make that one step.
void ExpectScaledFloats(const Sound& actual, const Sound& floats, double gain)
{
    EXPECT_EQ(actual.Subtype(), SF_FORMAT_PCM_24);
    EXPECT_EQ(actual.channels, floats.channels);
    EXPECT_EQ(actual.rate, floats.rate);
    ASSERT_EQ(actual.samples.size(), floats.samples.size());
    constexpr double kStep = 0x1p-23;
    for (std::size_t i = 0; i < actual.samples.size(); ++i) {
        const auto sample = static_cast<double>(std::bit_cast<float>(floats.samples[i]));
        const double expected = std::clamp(sample * gain, -1.0, 1.0 - kStep);
        ASSERT_NEAR(actual.samples[i] * 0x1p-31, expected, kStep + 0x1p-28) << "sample " << i;
    }
}

bool HasProgram(const std::string& name)
{
    return std::system(("command -v " + name + " > /dev/null 2>&1").c_str()) == 0;
}

class Corpus : public CommandTest {
protected:
    /// Makes a file of the corpus with a line of the shell, in the folder.
    std::string Make(const std::string& name, const std::string& line) const
    {
        const std::string command = "cd " + folder_.Path().string() + " && " + line + " > made.log 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << line << "\n" << ReadTextFile(File("made.log"));
        return File(name);
    }

    void Output(std::vector<std::string> arguments)
    {
        const std::string line = ::testing::PrintToString(arguments);
        arguments.emplace_back("--quiet");
        last_ = RunTool(arguments);
        EXPECT_EQ(last_.exitCode, 0) << line << ": " << last_.errors;
        EXPECT_EQ(last_.errors.find("ZT_E_"), std::string::npos) << last_.errors;
    }

    void ExpectOutput(std::vector<std::string> arguments, const Sound& expected)
    {
        SCOPED_TRACE(::testing::PrintToString(arguments));
        Output(std::move(arguments));
        if (last_.exitCode == 0) {
            ExpectSame(ReadSound(File("out.wav")), expected);
        }
    }

    /// Runs every command that `info` lists. Returns how many there are.
    int ExpectProcessed(const std::string& path)
    {
        SCOPED_TRACE(path);
        const RunResult info = RunTool({"info", path});
        EXPECT_EQ(info.exitCode, 0) << info.errors;
        const std::string label = "  commands   ";
        const std::size_t begin = info.output.find(label);
        EXPECT_NE(begin, std::string::npos) << info.output;
        if (begin == std::string::npos) {
            return 0;
        }
        const std::string list =
            info.output.substr(begin + label.size(), info.output.find('\n', begin) - begin - label.size());
        const Sound sound = ReadReference(path);
        EXPECT_GT(sound.Frames(), 60) << path;
        int count = 0;
        for (std::size_t at = 0; at < list.size();) {
            const std::size_t end = std::min(list.find(", ", at), list.size());
            ExpectCommand(list.substr(at, end - at), path, sound);
            at = end + 2;
            ++count;
        }
        return count;
    }

private:
    void ExpectCommand(const std::string& command, const std::string& path, const Sound& sound)
    {
        const std::string out = File("out.wav");
        const Sound integers = IsFloat(sound) ? ConvertedTo(sound, "24in32") : sound;
        if (command == "convert") {
            for (const std::string format : {"16", "24", "float"}) {
                ExpectOutput({"convert", path, out, "--format", format}, ConvertedTo(sound, format));
            }
        } else if (command == "trim") {
            Sound piece = sound;
            piece.samples.assign(sound.samples.begin() + 10 * sound.channels,
                                 sound.samples.begin() + 60 * sound.channels);
            ExpectOutput({"trim", path, out, "--from", "10s", "--to", "60s"}, piece);
        } else if (command == "volume") {
            if (IsFloat(sound)) {
                Output({"volume", path, out, "--gain", "0.5"});
                ExpectScaledFloats(ReadSound(out), sound, 0.5);
            } else {
                ExpectOutput({"volume", path, out, "--gain", "0.5"},
                             Scaled(Converted(sound, "24in32"),
                                    std::vector<GainRamp>(static_cast<std::size_t>(sound.channels), {2048, 2048})));
            }
        } else if (command == "stereo") {
            ExpectOutput({"stereo", path, path, out}, Interleaved({integers, integers}));
        } else if (command == "mux") {
            ExpectOutput({"mux", path, path, path, "-o", out}, Interleaved({integers, integers, integers}));
        } else if (command == "split") {
            Output({"split", path, "-o", File("part-{}.wav")});
            for (int channel = 0; channel < sound.channels; ++channel) {
                ExpectSame(ReadSound(File("part-" + std::to_string(channel + 1) + ".wav")),
                           Channels(sound, channel, 1));
            }
        } else if (command == "resample") {
            const int rate = sound.rate == 44100 ? 48000 : 44100;
            Output({"resample", path, out, "--rate", std::to_string(rate)});
            EXPECT_EQ(ReadSound(out).Frames(), std::lround(static_cast<double>(sound.Frames()) * rate / sound.rate));
        } else if (command == "analyze") {
            Output({"analyze", path});
        } else {
            ADD_FAILURE() << "info lists a command that this test does not know: " << command;
        }
    }
};

TEST_F(Corpus, OfSox)
{
    if (!HasProgram("sox")) {
        GTEST_SKIP() << "needs sox";
    }
    struct Kind {
        const char* name;
        const char* options;
    };
    const Kind kinds[] = {{"u8.wav", "-b 8 -e unsigned"}, {"s16.wav", "-b 16"},          {"s24.wav", "-b 24"},
                          {"s32.wav", "-b 32"},           {"f32.wav", "-b 32 -e float"}, {"f64.wav", "-b 64 -e float"},
                          {"ulaw.wav", "-e u-law"},       {"alaw.wav", "-e a-law"},      {"ima.wav", "-e ima-adpcm"},
                          {"s16.aiff", "-b 16"},          {"s24.aiff", "-b 24"},         {"s16.au", "-b 16"},
                          {"f32.au", "-b 32 -e float"},   {"s24.flac", "-b 24"},         {"s16.w64", "-b 16"}};
    const int rates[] = {8000, 44100, 48000, 192000};
    int next = 0;
    for (const Kind& kind : kinds) {
        for (const int channels : {1, 2, 6}) {
            if (channels > 2 && std::string(kind.options).find("ima") != std::string::npos) {
                continue;
            }
            const std::string rate = std::to_string(rates[next++ % 4]);
            const std::string path =
                Make(kind.name, "sox -R -n -r " + rate + " -c " + std::to_string(channels) + " " + kind.options + " " +
                                    kind.name + " synth 0.05 pinknoise gain -1");
            EXPECT_GE(ExpectProcessed(path), 5);
        }
    }
}

TEST_F(Corpus, OfSoxWithManyChannels)
{
    if (!HasProgram("sox")) {
        GTEST_SKIP() << "needs sox";
    }
    for (const int channels : {3, 16, 17, 64}) {
        ExpectProcessed(Make("many.wav", "sox -R -n -r 96000 -c " + std::to_string(channels) +
                                             " -b 24 many.wav synth 0.01 pinknoise gain -1"));
    }
}

TEST_F(Corpus, OfEncoders)
{
    if (!HasProgram("sox")) {
        GTEST_SKIP() << "needs sox";
    }
    Make("hot.wav", "sox -R -n -r 44100 -c 2 -b 16 hot.wav synth 1 square 440 square 441 gain 0");
    int encoders = 0;
    if (HasProgram("oggenc")) {
        ExpectProcessed(Make("hot.ogg", "oggenc -Q -q 1 hot.wav -o hot.ogg"));
        ++encoders;
    }
    if (HasProgram("lame")) {
        ExpectProcessed(Make("hot.mp3", "lame --quiet -b 96 hot.wav hot.mp3"));
        ++encoders;
    }
    if (HasProgram("flac")) {
        ExpectProcessed(Make("hot.flac", "flac -s hot.wav -o hot.flac"));
        ++encoders;
    }
    if (HasProgram("ffmpeg")) {
        ExpectProcessed(Make("hot.caf", "ffmpeg -loglevel error -y -i hot.wav -c:a pcm_s24le hot.caf"));
        ++encoders;
    }
    if (encoders == 0) {
        GTEST_SKIP() << "needs oggenc, lame, flac or ffmpeg";
    }
}

/// Noise of several channels, as a source of ffmpeg.
std::string NoiseSource(int channels, int rate)
{
    std::string expressions;
    for (int channel = 0; channel < channels; ++channel) {
        expressions += (channel == 0 ? "" : "|") + ("random(" + std::to_string(channel)) + ")*1.9-0.95";
    }
    return "-f lavfi -i \"aevalsrc=exprs=" + expressions + ":d=0.05:s=" + std::to_string(rate) + "\"";
}

TEST_F(Corpus, OfFfmpeg)
{
    if (!HasProgram("ffmpeg")) {
        GTEST_SKIP() << "needs ffmpeg";
    }
    struct Kind {
        const char* name;
        const char* options;
        int maxChannels = 64;
        int rate = 0; ///< the only one; 0 for any
    };
    const Kind kinds[] = {{"u8.wav", "-c:a pcm_u8"},
                          {"s16.wav", "-c:a pcm_s16le"},
                          {"s24.wav", "-c:a pcm_s24le"},
                          {"s32.wav", "-c:a pcm_s32le"},
                          {"f32.wav", "-c:a pcm_f32le"},
                          {"f64.wav", "-c:a pcm_f64le"},
                          {"alaw.wav", "-c:a pcm_alaw"},
                          {"ulaw.wav", "-c:a pcm_mulaw"},
                          {"ms.wav", "-c:a adpcm_ms", 2, 44100},
                          {"ima.wav", "-c:a adpcm_ima_wav", 2, 44100},
                          {"tagged.wav", "-c:a pcm_s16le -metadata title=Morning -write_bext 1"},
                          {"rf64.wav", "-c:a pcm_s24le -rf64 always"},
                          {"s16.w64", "-c:a pcm_s16le"},
                          {"s24.w64", "-c:a pcm_s24le"},
                          {"s8.aiff", "-c:a pcm_s8"},
                          {"s16.aiff", "-c:a pcm_s16be"},
                          {"s24.aiff", "-c:a pcm_s24be"},
                          {"f32.aiff", "-c:a pcm_f32be"},
                          {"s16.au", "-c:a pcm_s16be"},
                          {"f32.au", "-c:a pcm_f32be"},
                          {"f64.au", "-c:a pcm_f64be"},
                          {"ulaw.au", "-c:a pcm_mulaw"},
                          {"s16.caf", "-c:a pcm_s16le"},
                          {"s24.caf", "-c:a pcm_s24be"},
                          {"f32.caf", "-c:a pcm_f32le"},
                          {"s16.flac", "-sample_fmt s16", 8},
                          {"s24.flac", "-sample_fmt s32", 8},
                          {"lossy.mp3", "-c:a libmp3lame", 2, 44100},
                          {"lossy.mp2", "-c:a mp2", 2, 48000},
                          {"lossy.ogg", "-c:a libvorbis", 6, 48000},
                          {"lossy.opus", "-c:a libopus", 2, 48000}};
    const int rates[] = {8000, 48000, 44100, 192000, 22050, 96000, 32000};
    const int widths[] = {3, 6, 16};
    int next = 0;
    for (const Kind& kind : kinds) {
        for (const int channels : {1, 2, widths[next % 3]}) {
            if (channels > kind.maxChannels) {
                continue;
            }
            const int rate = kind.rate != 0 ? kind.rate : rates[next++ % 7];
            const std::string name = kind.name;
            SCOPED_TRACE(name + ", " + std::to_string(channels) + " channels, " + std::to_string(rate) + " Hz");
            const std::string path = Make(name, "ffmpeg -loglevel error -y " + NoiseSource(channels, rate) + " " +
                                                    kind.options + " " + name);
            EXPECT_GE(ExpectProcessed(path), 5);
        }
    }
}

// ffmpeg cannot return to the header of a pipe, so that the length is missing there.
TEST_F(Corpus, OfFfmpegInAPipe)
{
    if (!HasProgram("ffmpeg")) {
        GTEST_SKIP() << "needs ffmpeg";
    }
    struct Kind {
        const char* container;
        const char* options;
        int rate;
    };
    const Kind kinds[] = {
        {"wav", "-c:a pcm_s16le", 48000},  {"wav", "-c:a pcm_u8", 8000},       {"wav", "-c:a pcm_s24le", 44100},
        {"wav", "-c:a pcm_f32le", 96000},  {"wav", "-c:a pcm_f64le", 192000},  {"wav", "-c:a pcm_alaw", 8000},
        {"wav", "-rf64 always", 48000},    {"w64", "-c:a pcm_s16le", 48000},   {"au", "-c:a pcm_s16be", 48000},
        {"au", "-c:a pcm_f64be", 44100},   {"caf", "-c:a pcm_s16be", 48000},   {"caf", "-c:a pcm_f32le", 44100},
        {"aiff", "-c:a pcm_s16be", 48000}, {"flac", "-sample_fmt s16", 44100}, {"ogg", "-c:a libvorbis", 48000},
        {"opus", "-c:a libopus", 48000},   {"mp3", "-c:a libmp3lame", 44100},  {"mp2", "-c:a mp2", 48000}};
    for (const Kind& kind : kinds) {
        const std::string container = kind.container;
        SCOPED_TRACE(container + " " + kind.options);
        const std::string make =
            "ffmpeg -loglevel error -y " + NoiseSource(2, kind.rate) + " " + kind.options + " -f " + container + " ";
        const std::string tool = std::string(ZTA_TOOL_PATH) + " --quiet convert - ";
        Make("streamed", "{ " + make + "- > streamed; }");
        Make("complete", make + "complete");
        Make("pipe.wav", "{ { " + make + "-; echo $? > code; } | " + tool + "- | " + tool + "pipe.wav; }");
        EXPECT_EQ(ReadTextFile(File("code")), "0\n");
        Output({"convert", File("streamed"), File("streamed.wav")});
        const Sound sound = ReadSound(File("streamed.wav"));
        ExpectSame(ReadSound(File("pipe.wav")), sound);
        EXPECT_EQ(sound.channels, 2);
        EXPECT_EQ(sound.rate, kind.rate);
        EXPECT_GE(sound.Frames(), kind.rate / 20);
        if (!container.starts_with("mp")) { // whose padding is removed if the header contains the length
            Output({"convert", File("complete"), File("complete.wav")});
            ExpectSame(ReadSound(File("complete.wav")), sound);
        }
    }
}

// Five minutes, of which nothing fits into the memory of the tool.
TEST_F(Corpus, StreamsFfmpegInConstantMemory)
{
    if (!HasProgram("ffmpeg")) {
        GTEST_SKIP() << "needs ffmpeg";
    }
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs memory of its own";
#endif
    const std::string tool = std::string("(ulimit -d 40960; exec ") + ZTA_TOOL_PATH + " --quiet convert - - ";
    Make("bytes",
         "{ { ffmpeg -loglevel error -f lavfi -i anoisesrc=d=300:r=48000 -ac 2 -f wav -; echo $? > code; } | " + tool +
             "--format 24) | " + tool + "--output-format raw) | wc -c > bytes; }");
    EXPECT_EQ(ReadTextFile(File("code")), "0\n");
    EXPECT_EQ(ReadTextFile(File("bytes")), "115200000\n");
}

// A square wave at full scale overshoots in a lossy format. sox clips the same samples.
TEST_F(Corpus, CountsTheSamplesThatClip)
{
    if (!HasProgram("sox") || !HasProgram("oggenc")) {
        GTEST_SKIP() << "needs sox and oggenc";
    }
    Make("hot.wav", "sox -R -n -r 44100 -c 2 -b 16 hot.wav synth 1 square 440 square 441 gain 0");
    const std::string path = Make("hot.ogg", "oggenc -Q -q 1 hot.wav -o hot.ogg");
    const Sound sound = ReadReference(path);
    const auto overloads = std::ranges::count_if(
        sound.samples, [](std::int32_t sample) { return std::abs(std::bit_cast<float>(sample)) > 1.0F; });
    ASSERT_GT(overloads, 1000);
    Output({"convert", path, File("out.wav"), "--format", "24"});
    EXPECT_EQ(last_.errors, OverloadLine(path, overloads));
    Output({"convert", path, File("out.wav"), "--format", "24", "--guard"});
    EXPECT_NE(last_.errors.find(": level lowered by "), std::string::npos) << last_.errors;
    EXPECT_EQ(last_.errors.find("beyond full scale"), std::string::npos) << last_.errors;
    Output({"volume", path, File("out.wav"), "--gain", "-6dB"});
    EXPECT_EQ(last_.errors, "");
}

TEST_F(Corpus, OfADesktopsSounds)
{
    const std::filesystem::path folder = "/usr/share/sounds/freedesktop/stereo";
    if (!std::filesystem::is_directory(folder)) {
        GTEST_SKIP() << "needs the package sound-theme-freedesktop";
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            EXPECT_GE(ExpectProcessed(entry.path()), 5);
        }
    }
}

} // namespace
