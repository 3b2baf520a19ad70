/// What the tests of the commands share: a folder, files in it, and the tool's last run.
#pragma once

#include "testing/temp_directory.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/sounds.h"

#include <gtest/gtest.h>

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
        arguments.insert(arguments.end(), more.begin(), more.end());
        last_ = RunTool(arguments);
        EXPECT_EQ(last_.exitCode, 0) << last_.errors;
        EXPECT_EQ(last_.output, "");
    }

    TempDirectory folder_;
    RunResult last_;
};
