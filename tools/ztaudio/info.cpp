#include "host/formats.h"
#include "host/module.h"
#include "tools/common/failure.h"
#include "tools/ztaudio/commands.h"
#include "tools/ztaudio/engine_session.h"
#include "tools/ztaudio/progress.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/truncation_check.h"

#include <zta/sample_loops.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

void Line(std::string_view name, const std::string& text)
{
    std::printf("  %-10.*s %s\n", static_cast<int>(name.size()), name.data(), text.c_str());
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
    if (sound.Frames() == 0) {
        return "no sample frames, or not told";
    }
    const double seconds = static_cast<double>(sound.Frames()) / sound.Rate();
    char text[96];
    std::snprintf(text, sizeof text, "%lld sample frames, %.3f s (%s)", static_cast<long long>(sound.Frames()), seconds,
                  TimeText(seconds).c_str());
    return text;
}

void Show(const std::filesystem::path& path)
{
    const SoundFileReader sound(path);
    std::printf("%s\n", path.c_str());
    Line("container", NameOfFormat(sound.Format() & SF_FORMAT_TYPEMASK));
    Line("samples", NameOfFormat(sound.Format() & SF_FORMAT_SUBMASK) + ", " + std::to_string(sound.Channels()) +
                        (sound.Channels() == 1 ? " channel, " : " channels, ") + std::to_string(sound.Rate()) + " Hz");
    Line("length", LengthText(sound));
    Line("engine", zta::host::FormatName(WaveFormat(sound.Word(), sound.Channels(), sound.Rate())));
    if (!sound.Loss().empty()) {
        Line("note", std::string(sound.Loss()));
    }
    if (const std::uint64_t missing = MissingBytes(path); missing != 0) {
        Line("truncated", std::to_string(missing) + " bytes of samples are missing");
    }
    for (const Tag& tag : sound.Tags()) {
        Line(tag.name, tag.text);
    }
}

void ShowModule(const Context& context)
{
    const std::string path = FindModule(context).string();
    const zta::host::Module module(path);
    SelectLoops(module, context);
    std::printf("%s\n", path.c_str());
    Line("loops", module.Symbol<decltype(&ztGetSampleLoops)>("ztGetSampleLoops")());
}

void Info(const std::vector<std::filesystem::path>& files)
{
    bool failed = false;
    for (const auto& file : files) {
        try {
            Show(file);
        } catch (const Failure& failure) {
            PrintError(failure.what());
            failed = true;
        }
    }
    if (failed) {
        throw CLI::RuntimeError(kExitFailure); // all has been told
    }
}

} // namespace

void AddInfoCommand(CLI::App& app, const Context& context)
{
    const auto files = std::make_shared<std::vector<std::filesystem::path>>();
    CLI::App* command = app.add_subcommand("info", "Tell what sound files hold and how the engine takes them");
    command->add_option("FILE", *files, "the files to look at; without any, the sample loops that the module runs");
    command->footer("Examples:\n"
                    "  ztaudio info\n"
                    "  ztaudio info speech.wav\n"
                    "  ztaudio info /usr/share/sounds/alsa/*.wav");
    command->callback([files, &context] { files->empty() ? ShowModule(context) : Info(*files); });
}
