#include "host/formats.h"
#include "host/module.h"
#include "tools/common/failure.h"
#include "tools/common/format_text.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/json_text.h"
#include "tools/ztaudio/padded_buffer.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_reader.h"

#include <zta/sample_loops.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

void Line(std::string_view name, const std::string& text)
{
    std::printf("  %-10.*s %s\n", static_cast<int>(name.size()), name.data(), PrintableText(text).c_str());
}

std::string NameOfFormat(int format)
{
    SF_FORMAT_INFO info{};
    info.format = format;
    return sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0 && info.name != nullptr ? info.name
                                                                                                     : "unknown";
}

std::string LengthText(const SoundFileReader& sound)
{
    if (!sound.IsLengthKnown()) {
        return "not known before the end of the sound";
    }
    const double seconds = static_cast<double>(sound.Frames()) / sound.Rate();
    return FormatText("%lld sample frames, %.3f s (%s)", static_cast<long long>(sound.Frames()), seconds,
                      TimeText(seconds).c_str());
}

/// The commands that accept the file.
std::string CommandsFor(const SoundFileReader& sound)
{
    const std::uint32_t channels = sound.Channels();
    if (channels > kMaxChannels) {
        return "analyze";
    }
    std::string commands = "convert, trim, volume";
    commands += channels == 1 ? ", stereo" : "";
    commands += channels <= 2 ? ", mux" : "";
    commands += channels >= 2 ? ", split" : "";
    commands += sound.Rate() == 44100 || sound.Rate() == 48000 ? ", resample" : "";
    return commands + ", analyze";
}

void Show(const std::filesystem::path& path)
{
    const SoundFileReader sound(path);
    std::printf("%s\n", PrintableText(path.string()).c_str());
    Line("container", NameOfFormat(sound.FileFormat() & SF_FORMAT_TYPEMASK));
    Line("samples", NameOfFormat(sound.FileFormat() & SF_FORMAT_SUBMASK) + ", " + std::to_string(sound.Channels()) +
                        (sound.Channels() == 1 ? " channel, " : " channels, ") + std::to_string(sound.Rate()) + " Hz");
    Line("length", LengthText(sound));
    Line("engine", zta::host::FormatName(WaveFormat(sound.Format(), sound.Channels(), sound.Rate())));
    Line("commands", CommandsFor(sound));
    if (!sound.Loss().empty()) {
        Line("note", std::string(sound.Loss()));
    }
    if (sound.Length().isTruncated) {
        Line("truncated", DescribeMissing(sound.Length()));
    }
    for (const Tag& tag : sound.Tags()) {
        Line(tag.name, tag.text);
    }
}

std::string InfoJson(const std::filesystem::path& path)
{
    const SoundFileReader sound(path);
    std::string tags;
    for (const Tag& tag : sound.Tags()) {
        tags += (tags.empty() ? "" : ", ") + JsonString(std::string(tag.name)) + ": " + JsonString(tag.text);
    }
    std::string commands = JsonString(CommandsFor(sound));
    for (std::size_t at = commands.find(", "); at != std::string::npos; at = commands.find(", ", at + 4)) {
        commands.replace(at, 2, "\", \"");
    }
    const auto number = [](auto value) { return std::to_string(value); };
    const LengthCheck& length = sound.Length();
    return "{\"file\": " + JsonString(path.string()) +
           ", \"container\": " + JsonString(NameOfFormat(sound.FileFormat() & SF_FORMAT_TYPEMASK)) +
           ", \"samples\": " + JsonString(NameOfFormat(sound.FileFormat() & SF_FORMAT_SUBMASK)) +
           ",\n \"channels\": " + number(sound.Channels()) + ", \"rate\": " + number(sound.Rate()) +
           ", \"frames\": " + (sound.IsLengthKnown() ? number(sound.Frames()) : "null") +
           ", \"format\": " + JsonString(std::string(NameOf(sound.Format()))) +
           ",\n \"truncated\": " + JsonBool(length.isTruncated) +
           ", \"missing_bytes\": " + number(length.missingBytes) + ", \"commands\": [" + commands + "], \"tags\": {" +
           tags + "}}";
}

void ShowModule(const Context& context)
{
    const std::string path = FindModule(context).string();
    const zta::host::Module module(path);
    SelectLoops(module, context);
    std::printf("%s\n", path.c_str());
    Line("loops", module.Symbol<decltype(&ztGetSampleLoops)>("ztGetSampleLoops")());
}

int ShowFiles(const InfoOptions& options)
{
    bool hasFailed = false;
    const char* separator = "[";
    for (const auto& file : options.files) {
        try {
            if (options.json) {
                std::fputs((separator + InfoJson(file)).c_str(), stdout);
                separator = ",\n";
            } else {
                Show(file);
            }
        } catch (const Failure& failure) {
            PrintError(failure.what());
            hasFailed = true;
        }
    }
    if (options.json) {
        std::puts(*separator == '[' ? "[]" : "]");
    }
    return hasFailed ? kExitFailure : 0;
}

} // namespace

int RunCommand(const InfoOptions& options, const Context& context)
{
    if (!options.files.empty()) {
        return ShowFiles(options);
    }
    ShowModule(context);
    return 0;
}
