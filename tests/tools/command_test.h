/// The fixture of the commands' tests: a folder, files in it, and the last run of the tool.
#pragma once

#include "testing/temp_directory.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/sounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

/// The arguments followed by more.
inline std::vector<std::string> Joined(std::vector<std::string> first, const std::vector<std::string>& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

class CommandTest : public ::testing::Test {
protected:
    std::string File(const std::string& name) const { return folder_.File(name); }

    std::string Write(const std::string& name, const Sound& sound) const
    {
        WriteSound(File(name), sound);
        return File(name);
    }

    /// Writes the sounds and gives the names of their files.
    std::vector<std::string> Write(const std::vector<Sound>& sounds) const
    {
        std::vector<std::string> names;
        for (const Sound& sound : sounds) {
            names.push_back(Write("in" + std::to_string(names.size() + 1) + ".wav", sound));
        }
        return names;
    }

    /// Runs the tool, which must succeed; `more` follows `arguments`.
    void Run(std::vector<std::string> arguments, const std::vector<std::string>& more = {})
    {
        last_ = RunTool(Joined(std::move(arguments), more));
        EXPECT_EQ(last_.exitCode, 0) << last_.errors;
        EXPECT_EQ(last_.output, "");
    }

    /// Runs the tool like that. Returns the sound that it writes to out.wav.
    Sound Output(std::vector<std::string> arguments, const std::vector<std::string>& more = {})
    {
        Run(std::move(arguments), more);
        return last_.exitCode == 0 ? ReadSound(File("out.wav")) : Sound{};
    }

    /// The names and bytes of all files in the folder.
    std::map<std::string, std::string> Content() const
    {
        std::map<std::string, std::string> content;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.Path())) {
            content[entry.path()] = entry.is_regular_file() ? ReadTextFile(entry.path()) : "";
        }
        return content;
    }

    /// Runs the tool, which must fail, print one line, and change no file. Returns the line.
    std::string Fails(const std::vector<std::string>& arguments, int exitCode = 1, const RunOptions& options = {}) const
    {
        const auto before = Content();
        const RunResult run = RunTool(arguments, options);
        EXPECT_EQ(run.exitCode, exitCode) << "signal " << run.signal;
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(std::ranges::count(run.errors, '\n'), 1) << run.errors;
        EXPECT_TRUE(run.errors.starts_with("ztaudio: ") && run.errors.ends_with('\n')) << run.errors;
        EXPECT_TRUE(Content() == before) << "a file has changed, come or gone";
        return run.errors;
    }

    TempDirectory folder_;
    RunResult last_;
};
