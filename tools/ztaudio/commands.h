/// The commands: the options of each in a plain struct, and the function that runs it.
///
/// Each function runs one command, needs no command line, and returns the exit code of the program. It throws Failure
/// if the command cannot do its work.
#pragma once

#include "tools/ztaudio/context.h"
#include "tools/ztaudio/overload.h"
#include "tools/ztaudio/sound_file_reader.h"
#include "tools/ztaudio/sound_file_writer.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

/// How files are opened.
struct FileOptions {
    InputOptions input;
    OutputOptions output;
};

/// How the output is written under an overload policy: where an overload is a failure, a pipe gets nothing then.
inline OutputOptions OutputFor(const FileOptions& files, OverloadPolicy overload)
{
    OutputOptions output = files.output;
    output.isSpooled = overload == OverloadPolicy::Fail;
    return output;
}

struct VersionOptions {};

struct InfoOptions {
    std::vector<std::filesystem::path> files; ///< empty to show the module instead
    bool json = false;
};

struct ConvertOptions {
    FileOptions files;
    std::filesystem::path in;
    std::filesystem::path out;
    std::string format; ///< empty for the sample format of the input
    bool fadeIn = false;
    bool fadeOut = false;
    std::int64_t block = 4096;      ///< sample frames
    std::uint32_t rate = 0;         ///< 0 for the rate of the input
    bool mustResample = false;      ///< fail if the input has the rate already
    std::vector<std::string> gains; ///< for floats, before the conversion
    OverloadPolicy overload = OverloadPolicy::Clip;
    bool guard = false;
    bool json = false;
};

struct TrimOptions {
    FileOptions files;
    std::filesystem::path in;
    std::filesystem::path out;
    std::string from = "0"; ///< a position, see IsPosition
    std::string to;         ///< empty for the end of the file
};

struct StereoOptions {
    FileOptions files;
    std::filesystem::path left;
    std::filesystem::path right;
    std::filesystem::path out;
    OverloadPolicy overload = OverloadPolicy::Clip;
    bool guard = false;
};

struct VolumeOptions {
    FileOptions files;
    std::filesystem::path in;
    std::filesystem::path out;
    std::vector<std::string> gains;
    std::string format; ///< empty for 24in32
    OverloadPolicy overload = OverloadPolicy::Clip;
    bool guard = false;
    bool json = false;
};

struct MuxOptions {
    FileOptions files;
    std::vector<std::filesystem::path> in;
    std::filesystem::path out;
    std::string format; ///< empty for the sample format of the inputs, or 24in32
    std::vector<std::string> gains;
    OverloadPolicy overload = OverloadPolicy::Clip;
    bool guard = false;
};

struct SplitOptions {
    FileOptions files;
    std::filesystem::path in;
    std::string pattern; ///< see IsOutputPattern
    bool stereo = false;
    std::vector<std::string> gains;
    OverloadPolicy overload = OverloadPolicy::Clip;
    bool guard = false;
};

struct ResampleOptions {
    FileOptions files;
    std::filesystem::path in;
    std::filesystem::path out;
    std::uint32_t rate = 0;
    std::int64_t block = 4096; ///< sample frames
    OverloadPolicy overload = OverloadPolicy::Clip;
    bool guard = false;
    bool json = false;
};

/// A command for each of several inputs.
struct BatchOptions {
    using Command = std::variant<ConvertOptions, TrimOptions, VolumeOptions, ResampleOptions>;

    Command command; ///< without input and output
    std::vector<std::filesystem::path> in;
    std::string pattern; ///< of the outputs: {} is replaced by the name of the input without its extension
    unsigned jobs = 0;   ///< files in parallel, 0 for one per processor
};

struct AnalyzeOptions {
    InputOptions input;
    std::filesystem::path in;
    std::filesystem::path reference;
    std::filesystem::path plot;
    std::filesystem::path spectrogram;
    std::filesystem::path waveform;
    std::string axis = "linear"; ///< of frequencies in pictures, or "log"
    bool json = false;
};

struct RegisterOptions {
    std::filesystem::path folder;
};

struct UnregisterOptions {
    std::filesystem::path folder;
};

int RunCommand(const VersionOptions& options, const Context& context);
int RunCommand(const InfoOptions& options, const Context& context);
int RunCommand(const ConvertOptions& options, const Context& context);
int RunCommand(const TrimOptions& options, const Context& context);
int RunCommand(const StereoOptions& options, const Context& context);
int RunCommand(const VolumeOptions& options, const Context& context);
int RunCommand(const MuxOptions& options, const Context& context);
int RunCommand(const SplitOptions& options, const Context& context);
int RunCommand(const ResampleOptions& options, const Context& context);
int RunCommand(const BatchOptions& options, const Context& context);
int RunCommand(const AnalyzeOptions& options, const Context& context);
int RunCommand(const RegisterOptions& options, const Context& context);
int RunCommand(const UnregisterOptions& options, const Context& context);

/// Returns whether the text is a position in a sound: seconds, a time with minutes or hours, or "72000s".
bool IsPosition(const std::string& text);

/// Returns whether the text has exactly one placeholder for a number: {}, %d, or %01d to %09d.
bool IsOutputPattern(const std::string& text);
