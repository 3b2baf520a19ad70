// The only source of the program that includes the option parser, which takes long to compile.
#include "tools/ztaudio/options.h"

#include "tools/common/failure.h"
#include "tools/ztaudio/gains.h"
#include "tools/ztaudio/sample_format.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <optional>

namespace {

constexpr std::int64_t kMaxBlockFrames = 192000;
constexpr unsigned kMaxJobs = 256;
constexpr unsigned kMaxRate = 768000;

constexpr const char* kGainHelp =
    "A gain is a factor from 0 to 8, or decibels like -6dB. START:END is a ramp over the whole length, from the first\n"
    "sample frame to the last, linear in the factor; each frame gets the nearest multiple of 1/4096. Results saturate\n"
    "at 24 bits, and lower bits are dropped. Channels are numbered from 1. The last of several gains for a channel\n"
    "applies.";

constexpr const char* kRegistryHelp =
    "Hosts find the module through the CLSIDs file of the folder that the environment variable\n"
    "ORBUTILS names.\n"
    "\n"
    "Example:\n"
    "  ztaudio ";

std::string OutputHelp()
{
    return "file to write, or - for standard output, its container by the extension: " + OutputExtensions();
}

/// The commands with one input and one output, which can be run for several inputs.
template <typename Options>
concept HasOneInputAndOutput = requires(Options options)
{
    BatchOptions::Command(options);
};

class Parser {
public:
    Parser();

    CommandLine Parse(int argc, const char* const* argv);

private:
    /// Adds a command whose options are parsed into a struct of type Options, which becomes the result.
    template <typename Options>
    CLI::App& Add(const char* name, void (Parser::*define)(CLI::App&, Options&));

    /// The same under an old name, which the help does not list.
    template <typename Options>
    void AddAlias(const char* name, void (Parser::*define)(CLI::App&, Options&))
    {
        Add(name, define).group("");
    }

    void AddOutput(CLI::App& command, std::filesystem::path& out, const char* name = "OUT");
    void AddInputAndOutput(CLI::App& command);

    /// The command for the input and the output, or for the inputs, of the command line.
    template <typename Options>
    Command WithFiles(Options options) const;

    // Each of the following adds options that several commands have.
    CLI::Option& AddGains(CLI::App& command, std::vector<std::string>& gains);
    void AddBlock(CLI::App& command, std::int64_t& block);
    void AddFullScale(CLI::App& command, OverloadPolicy& overload, bool& guard);
    void AddFiles(CLI::App& command, FileOptions& files);
    void AddJson(CLI::App& command, bool& json);
    void AddPipes(CLI::App& command, FileOptions& files);
    void AddInputFormat(CLI::App& command, InputOptions& input);
    CLI::Option& AddRate(CLI::App& command, std::uint32_t& rate, const char* help);
    CLI::Option& AddFormat(CLI::App& command, std::string& format, const char* help);

    /// The options that the commands with one input and one output share, if these change samples.
    template <typename Options>
    void AddProcessing(CLI::App& command, Options& options)
    {
        AddFullScale(command, options.overload, options.guard);
        AddPipes(command, options.files);
        AddJson(command, options.json);
    }

    void DefineInfo(CLI::App& command, InfoOptions& options);
    void DefineConvert(CLI::App& command, ConvertOptions& options);
    void DefineTrim(CLI::App& command, TrimOptions& options);
    void DefineStereo(CLI::App& command, StereoOptions& options);
    void DefineVolume(CLI::App& command, VolumeOptions& options);
    void DefineMux(CLI::App& command, MuxOptions& options);
    void DefineSplit(CLI::App& command, SplitOptions& options);
    void DefineResample(CLI::App& command, ResampleOptions& options);
    void DefineAnalyze(CLI::App& command, AnalyzeOptions& options);
    void DefineRegister(CLI::App& command, RegisterOptions& options);
    void DefineUnregister(CLI::App& command, UnregisterOptions& options);

    CLI::App app_{"Processes sound files with the audio samples engine.", "ztaudio"};
    CommandLine line_;
    std::vector<std::filesystem::path> inputs_; ///< of a command that can have several; without -o, also the output
    std::filesystem::path output_;
    std::string pattern_;
    unsigned jobs_ = 0;
    bool version_ = false;
    bool hasCommand_ = false;
};

Parser::Parser()
{
    Context& context = line_.context;
    app_.fallthrough();
    app_.require_subcommand(0, 1);
    app_.add_flag("-q,--quiet", context.quiet, "print errors only");
    app_.add_flag("--version", version_, "print the versions of the tool and of the module");
    app_.add_option("--module", context.module, "module to load (default: search next to the tool)")
        ->envname("ZTAUDIO_MODULE");
    app_.add_option("--loop-variant", context.loopVariant,
                    "variant of the sample loops: scalar, avx2 or avx512 (default: chosen by the module). The samples "
                    "are the same");
    app_.add_option("--loops", context.loopVariant)->group("");
    app_.footer("Exit code: 0 for success, 1 if something failed, 2 if the command line is wrong.\n"
                "\n"
                "Examples:\n"
                "  ztaudio info speech.wav\n"
                "  ztaudio convert speech.wav speech-24.wav --format 24in32\n"
                "  ztaudio mux a.wav b.wav c.wav d.wav -o four.wav\n"
                "  ztaudio resample speech.wav speech-44.wav --rate 44100\n"
                "  ztaudio convert --help");
    Add("info", &Parser::DefineInfo);
    Add("convert", &Parser::DefineConvert);
    Add("trim", &Parser::DefineTrim);
    AddAlias("cut", &Parser::DefineTrim);
    Add("stereo", &Parser::DefineStereo);
    Add("volume", &Parser::DefineVolume);
    Add("mux", &Parser::DefineMux);
    Add("split", &Parser::DefineSplit);
    Add("resample", &Parser::DefineResample);
    Add("analyze", &Parser::DefineAnalyze);
    AddAlias("analyse", &Parser::DefineAnalyze);
    Add("register", &Parser::DefineRegister);
    Add("unregister", &Parser::DefineUnregister);
}

CommandLine Parser::Parse(int argc, const char* const* argv)
{
    try {
        app_.parse(argc, argv);
    } catch (const CLI::Success& request) { // --help
        std::ostringstream text;
        app_.exit(request, text, text);
        line_.command = PrintText{text.str()};
        return line_;
    } catch (const CLI::ExtrasError& error) {
        if (!hasCommand_ && app_.get_subcommands().empty()) {
            throw UsageFailure(app_.remaining().front() + " is no command");
        }
        throw UsageFailure(error.what());
    } catch (const CLI::ParseError& error) {
        throw UsageFailure(error.what());
    }
    if (version_) {
        line_.command = VersionOptions{};
    } else if (!hasCommand_) {
        throw UsageFailure("no command");
    }
    return line_;
}

template <typename Options>
CLI::App& Parser::Add(const char* name, void (Parser::*define)(CLI::App&, Options&))
{
    const auto options = std::make_shared<Options>();
    CLI::App& command = *app_.add_subcommand(name);
    (this->*define)(command, *options);
    command.callback([this, options] {
        if constexpr (HasOneInputAndOutput<Options>) {
            line_.command = WithFiles(*options);
        } else {
            line_.command = *options;
        }
        hasCommand_ = true;
    });
    return command;
}

void Parser::AddOutput(CLI::App& command, std::filesystem::path& out, const char* name)
{
    command.add_option(name, out, OutputHelp())->required();
}

void Parser::AddInputAndOutput(CLI::App& command)
{
    command.add_option("IN", inputs_, "file to read, or - for standard input; several with -o")->required();
    // Only for the help: the list of inputs takes every name.
    command.add_option("OUT", output_, OutputHelp());
    command
        .add_option("-o,--output", pattern_,
                    "write this file instead of OUT; {} is replaced by the name of the input without its extension")
        ->type_name("PATTERN");
    command.add_option("-j,--jobs", jobs_, "files processed in parallel, with -o (default: the number of processors)")
        ->type_name("N")
        ->check(CLI::Range(1U, kMaxJobs).description(""))
        ->needs("--output");
}

template <typename Options>
Command Parser::WithFiles(Options options) const
{
    if (!pattern_.empty()) {
        return BatchOptions{options, inputs_, pattern_, jobs_};
    }
    if (std::ranges::find(inputs_, std::filesystem::path()) != inputs_.end()) {
        throw UsageFailure("the name of a file is empty");
    }
    if (inputs_.size() < 2) {
        throw UsageFailure("OUT is required");
    }
    if (inputs_.size() > 2) {
        throw UsageFailure("several inputs need -o and a name with {} for the outputs");
    }
    options.in = inputs_[0];
    options.out = inputs_[1];
    return options;
}

CLI::Option& Parser::AddGains(CLI::App& command, std::vector<std::string>& gains)
{
    return *command.add_option("--gain", gains, "gain of a channel, or without CH= of all, as a factor or in dB")
                ->type_name("[CH=]START[:END]")
                ->allow_extra_args(false)
                ->check([](const std::string& text) -> std::string {
                    return IsGain(text) ? ""
                                        : text + " is no gain: [CH=]START[:END], each from 0 to 8 or in dB up to +18dB";
                });
}

void Parser::AddBlock(CLI::App& command, std::int64_t& block)
{
    command.add_option("--block", block, "sample frames per block; the result does not depend on it")
        ->capture_default_str()
        ->check(CLI::Range(std::int64_t{1}, kMaxBlockFrames));
}

void Parser::AddFullScale(CLI::App& command, OverloadPolicy& overload, bool& guard)
{
    command
        .add_option_function<std::string>(
            "--overload", [&overload](const std::string& name) { overload = ParseOverloadPolicy(name).value(); },
            "samples beyond full scale: clip (default), wrap as the engine does, or fail")
        ->type_name("POLICY")
        ->check([](const std::string& name) -> std::string {
            return ParseOverloadPolicy(name) ? "" : name + " is no policy: clip, wrap or fail";
        });
    command.add_flag("--guard", guard, "lower the level so that no sample passes full scale; reads the input twice");
}

void Parser::AddJson(CLI::App& command, bool& json)
{
    command.add_flag("--json", json, "print JSON");
}

void Parser::AddFiles(CLI::App& command, FileOptions& files)
{
    command.add_flag("--no-clobber", files.output.noClobber, "do not replace an existing file");
    command.add_flag("--salvage", files.input.salvage, "read a truncated file as far as possible");
}

void Parser::AddPipes(CLI::App& command, FileOptions& files)
{
    AddFiles(command, files);
    AddInputFormat(command, files.input);
    command
        .add_option("--output-format", files.output.format,
                    "container of the output: wav, flac, au, raw ... (default: that of the extension, or wav)")
        ->type_name("NAME")
        ->check([](const std::string& name) -> std::string {
            return IsOutputFormat(name) ? "" : name + " is no container: use the name of an extension";
        });
}

void Parser::AddInputFormat(CLI::App& command, InputOptions& input)
{
    command
        .add_option("--input-format", input.format,
                    "format that the input must have: wav, flac, au or raw (default: any)")
        ->type_name("NAME")
        ->check(CLI::IsMember({"wav", "flac", "au", "raw"}).description(""));
    command.add_option("--raw", input.raw, "the input is raw: 16, 24in32, 24in24 or float; little-endian")
        ->type_name("FORMAT,RATE,CHANNELS")
        ->check([](const std::string& text) -> std::string {
            return IsRawFormat(text) ? ""
                                     : text + " describes no raw samples: 16, 24in32, 24in24 or float,RATE,CHANNELS";
        });
}

CLI::Option& Parser::AddRate(CLI::App& command, std::uint32_t& rate, const char* help)
{
    return *command.add_option("--rate", rate, help)->check(CLI::Range(1U, kMaxRate))->type_name("HZ");
}

CLI::Option& Parser::AddFormat(CLI::App& command, std::string& format, const char* help)
{
    return *command.add_option("--format", format, help)->check(CLI::IsMember(SampleFormatNames()));
}

void Parser::DefineInfo(CLI::App& command, InfoOptions& options)
{
    command.description("Show the format of sound files and how the engine processes them");
    command.footer("Examples:\n"
                   "  ztaudio info\n"
                   "  ztaudio info speech.wav\n"
                   "  ztaudio info /usr/share/sounds/alsa/*.wav");
    command.add_option("FILE", options.files, "files to show; without any, the variant of the sample loops");
    AddJson(command, options.json);
}

void Parser::DefineConvert(CLI::App& command, ConvertOptions& options)
{
    command.description("Copy a sound file, converting its sample format");
    command.footer(
        "Conversions neither round nor dither. Samples beyond full scale are counted. An existing OUT is replaced\n"
        "when the new file is complete, and is unchanged if anything fails. A pipe of WAV, AU, CAF, FLAC, Ogg, MPEG\n"
        "or raw samples is read in constant memory; other containers are copied to a temporary file first.\n"
        "\n"
        "Examples:\n"
        "  ztaudio convert speech.wav speech.flac\n"
        "  ztaudio convert mix.wav mix-float.wav --format float\n"
        "  ffmpeg -i film.mkv -f wav - | ztaudio convert - film.flac --format 24\n"
        "  ztaudio convert hot.ogg disc.wav --format 16 --rate 44100 --guard\n"
        "  ztaudio convert *.aiff -o 'flac/{}.flac' --jobs 4\n"
        "  ztaudio convert take.aiff clip.wav --format 16 --fade-in --fade-out");
    AddInputAndOutput(command);
    AddFormat(command, options.format, "sample format of the output (default: that of the input)");
    command.add_flag("--fade-in", options.fadeIn, "fade in over the first 200 sample frames");
    command.add_flag("--fade-out", options.fadeOut, "fade out over the last 200 sample frames");
    AddBlock(command, options.block);
    AddRate(command, options.rate, "rate of the output: 44100 or 48000 (default: that of the input)");
    AddGains(command, options.gains);
    AddProcessing(command, options);
}

void Parser::DefineTrim(CLI::App& command, TrimOptions& options)
{
    command.description("Copy a range of sample frames to a new file");
    command.footer(
        "A time is in seconds, 1.5, with minutes or hours, 0:01.500 or 1:02:03, or a count of sample frames,\n"
        "72000s. A time between two sample frames is rounded to the nearer one. Samples are copied unchanged. Texts\n"
        "like the title are copied; what refers to times in the old file is not.\n"
        "\n"
        "Examples:\n"
        "  ztaudio trim speech.wav clip.wav --from 0.25 --to 1.5\n"
        "  ztaudio trim take.wav tail.wav --from 1:30\n"
        "  ztaudio trim take.wav second.wav --from 48000s --to 96000s");
    const auto check = [](const std::string& text) -> std::string {
        return IsPosition(text) ? "" : text + " is no time: 1.5, 0:01.500 or, in sample frames, 72000s";
    };
    AddInputAndOutput(command);
    command.add_option("--from", options.from, "first sample frame to copy")
        ->type_name("T")
        ->capture_default_str()
        ->check(check);
    command.add_option("--to", options.to, "first sample frame not to copy (default: the end of the file)")
        ->type_name("T")
        ->check(check);
    AddPipes(command, options.files);
}

void Parser::DefineStereo(CLI::App& command, StereoOptions& options)
{
    command.description("Interleave two mono files into one stereo file");
    command.footer("The output has the sample format of the inputs, 24in32 if they differ or are floating point. A\n"
                   "shorter input is continued with silence.\n"
                   "\n"
                   "Example:\n"
                   "  ztaudio stereo left.wav right.wav both.wav");
    command.add_option("LEFT", options.left, "mono file of the left channel")->required();
    command.add_option("RIGHT", options.right, "mono file of the right channel")->required();
    AddOutput(command, options.out);
    AddFullScale(command, options.overload, options.guard);
    AddFiles(command, options.files);
}

void Parser::DefineVolume(CLI::App& command, VolumeOptions& options)
{
    command.description("Apply gains and gain ramps to a sound file");
    command.footer(std::string(kGainHelp) + "\n"
                                            "\n"
                                            "Examples:\n"
                                            "  ztaudio volume speech.wav softer.wav --gain -6dB\n"
                                            "  ztaudio volume speech.wav fading.wav --gain 1:0 --format 16\n"
                                            "  ztaudio volume stereo.wav panned.wav --gain 1=1:0 --gain 2=0:1");
    AddInputAndOutput(command);
    AddGains(command, options.gains).required();
    AddFormat(command, options.format, "sample format of the output (default: 24in32)");
    AddProcessing(command, options);
}

void Parser::DefineMux(CLI::App& command, MuxOptions& options)
{
    command.description("Interleave mono and stereo files into one multichannel file");
    command.footer("Shorter inputs are continued with silence. With gains the default format is 24in32.\n" +
                   std::string(kGainHelp) +
                   "\n"
                   "\n"
                   "Examples:\n"
                   "  ztaudio mux a.wav b.wav c.wav d.wav -o four.wav\n"
                   "  ztaudio mux front.wav rear.wav -o four.wav --gain 3=-6dB --gain 4=-6dB\n"
                   "  ztaudio mux a.wav b.wav c.wav d.wav -o four.wav --gain 1=0:1 --gain 2=1:0");
    command.add_option("IN", options.in, "files in the order of their channels, 2 to 64 in all")->required();
    AddOutput(command, options.out, "-o,--output");
    AddGains(command, options.gains);
    command
        .add_option("--format", options.format, "sample format of the output (default: that of the inputs, or 24in32)")
        ->check(CLI::IsMember({"16", "24in32", "24in24", "24"}));
    AddFullScale(command, options.overload, options.guard);
    AddFiles(command, options.files);
}

void Parser::DefineSplit(CLI::App& command, SplitOptions& options)
{
    command.description("Deinterleave a multichannel file into mono or stereo files");
    command.footer("Channels and pairs are numbered from 1. The outputs have the sample format of the input, 24in32\n"
                   "if there are gains. They get their names when all are complete; if anything fails, none does.\n" +
                   std::string(kGainHelp) +
                   "\n"
                   "\n"
                   "Examples:\n"
                   "  ztaudio split eight.wav -o channel-{}.wav\n"
                   "  ztaudio split eight.wav -o pair-%02d.flac --stereo --gain -6dB");
    command.add_option("IN", options.in, "file to read, of 2 to 64 channels")->required();
    command
        .add_option("-o,--output", options.pattern,
                    "names of the files to write: {}, %d or %02d is replaced by the number of the channel or pair")
        ->required()
        ->type_name("PATTERN")
        ->check([](const std::string& pattern) -> std::string {
            return IsOutputPattern(pattern) ? "" : pattern + " needs one place for a number: {}, %d or %02d";
        });
    command.add_flag("--stereo", options.stereo, "stereo files of channels 1 and 2, 3 and 4, and so on");
    AddGains(command, options.gains);
    AddFullScale(command, options.overload, options.guard);
    AddFiles(command, options.files);
}

void Parser::DefineResample(CLI::App& command, ResampleOptions& options)
{
    command.description("Convert the sample rate of a file between 44100 and 48000 Hz");
    command.footer(
        "The output has 16 bits and the duration of the input, to the nearest sample frame. Its first frame is at\n"
        "the time of the input's first; outside the sound the filter reads its first sample, and silence.\n"
        "Files of other sample formats are converted to 16 bits first.\n"
        "\n"
        "Examples:\n"
        "  ztaudio resample speech.wav speech-44.wav --rate 44100\n"
        "  ztaudio resample disc.flac video.wav --rate 48000");
    AddInputAndOutput(command);
    AddRate(command, options.rate, "rate of the output: 44100 or 48000").required();
    AddBlock(command, options.block);
    AddProcessing(command, options);
}

void Parser::DefineAnalyze(CLI::App& command, AnalyzeOptions& options)
{
    command.description("Measure a sound file: level, peaks, loudness, and the quality of a test tone");
    command.footer(
        "All sample frames count. The level is that of the mean square; 0 dBFS is the square of full scale, and a\n"
        "full-scale sine has -3.01. The true peak is that of the signal at 16 times the rate. Loudness is that of EBU\n"
        "R128. A tone is the sine that fits best, if one component dominates; its own level is 0 dBFS for a\n"
        "full-scale sine. It is not steady if it explains less than half of the sound. THD+N is the residual of the\n"
        "fit; signal to noise excludes harmonics up to the tenth. Neither includes the DC offset, and neither is\n"
        "better than the quantization noise of the sample format, the limit of the measurement.\n"
        "\n"
        "Examples:\n"
        "  ztaudio analyze tone.wav\n"
        "  ztaudio analyze copy.wav --reference original.wav\n"
        "  ztaudio analyze tone.wav --plot tone.svg --axis log --json\n"
        "  ztaudio analyze song.flac --spectrogram song.svg --waveform wave.svg");
    command.add_option("IN", options.in, "file to measure, or - for standard input")->required();
    AddInputFormat(command, options.input);
    command.add_flag("--salvage", options.input.salvage, "read a truncated file as far as possible");
    command.add_option("--reference", options.reference, "also print the level of the difference to FILE")
        ->type_name("FILE");
    command.add_option("--plot", options.plot, "draw the spectrum into this SVG file")->type_name("FILE");
    command.add_option("--spectrogram", options.spectrogram, "draw the spectrum by time into this SVG file")
        ->type_name("FILE");
    command.add_option("--waveform", options.waveform, "draw the waveform into this SVG file")->type_name("FILE");
    command.add_option("--axis", options.axis, "frequency axis of the pictures")
        ->capture_default_str()
        ->check(CLI::IsMember({"linear", "log"}));
    AddJson(command, options.json);
}

void Parser::DefineRegister(CLI::App& command, RegisterOptions& options)
{
    command.description("Record the module in a folder's CLSIDs file");
    command.footer(std::string(kRegistryHelp) + "register /usr/local/share/kelvarvideo");
    command.add_option("DIR", options.folder, "folder of the CLSIDs file")->required();
}

void Parser::DefineUnregister(CLI::App& command, UnregisterOptions& options)
{
    command.description("Remove the module from a folder's CLSIDs file");
    command.footer(std::string(kRegistryHelp) + "unregister /usr/local/share/kelvarvideo");
    command.add_option("DIR", options.folder, "folder of the CLSIDs file")->required();
}

} // namespace

CommandLine ParseCommandLine(int argc, const char* const* argv)
{
    return Parser().Parse(argc, argv);
}
