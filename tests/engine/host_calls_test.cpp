// Which calls the engine makes on a host's buffers, over every path of every operation, against the table of the host's
// guide.

#include "testing/recording_host.h"
#include "testing/scenarios.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

using zta::host::AudioBuffer;
using zta::host::Ref;
using zta::test::RecordingBuffer;
using zta::test::Scenario;

/// The columns of the table, by the beginning of a scenario's name.
struct Operation {
    char letter;
    std::vector<std::string> names;
};

const std::vector<Operation> kOperations = {
    {'C', {"Copy"}},
    {'D', {"Duplicate"}},
    {'J', {"MonoToStereo"}},
    {'S', {"StereoToMono"}},
    {'A', {"MonoToMux", "StereoToMux"}},
    {'P', {"MuxToMono", "MuxToStereo"}},
    {'V', {"Volume"}},
    {'R', {"Resampl"}},
};

/// The calls in the order of their slots. AddRef and Release are not logged.
const std::vector<std::string> kCalls = [] {
    std::vector<std::string> calls(std::begin(zta::host::kBufferOperationNames),
                                   std::end(zta::host::kBufferOperationNames));
    std::erase(calls, "AddRef");
    std::erase(calls, "Release");
    return calls;
}();

enum Role { kInput, kOutput, kPool, kRoles };

char LetterOf(const std::string& scenario)
{
    for (const Operation& operation : kOperations) {
        for (const std::string& name : operation.names) {
            if (scenario.rfind(name, 0) == 0) {
                return operation.letter;
            }
        }
    }
    ADD_FAILURE() << scenario << " is a path of no operation";
    return '?';
}

void ReleaseKeptReferences(RecordingBuffer& buffer)
{
    while (buffer.References() > 1) {
        buffer.Release();
    }
}

/// For each call the letters of the operations that make it, by the role of the buffer.
std::map<std::string, std::array<std::set<char>, kRoles>> RecordedCalls()
{
    std::map<std::string, std::array<std::set<char>, kRoles>> calls;
    for (const auto& test : zta::test::Scenarios()) {
        zta::test::CallLog callLog;
        zta::test::RecordingHost host(callLog);
        const auto engine = zta::test::CreateEngine(host);
        const Scenario scenario =
            test.Make([&](const std::string& name, const SZtaWaveFormatInfo& format, std::size_t bytes) {
                return RecordingBuffer::Create(callLog, name, format, bytes);
            });
        std::map<std::string, Role> roles;
        for (const auto& input : scenario.inputs) {
            roles[static_cast<const RecordingBuffer&>(*input).Name()] = kInput;
        }
        for (const auto& output : scenario.outputs) {
            roles[static_cast<const RecordingBuffer&>(*output).Name()] = kOutput;
        }
        callLog.Clear();
        EXPECT_EQ(zta::test::RunAnnounced(scenario, *engine), test.status) << test.name;
        for (const std::string& entry : callLog.Calls()) {
            const auto dot = entry.find('.');
            const std::string call = entry.substr(dot + 1, entry.find('(') - dot - 1);
            const auto role = roles.find(entry.substr(0, dot));
            calls[call][role == roles.end() ? kPool : role->second].insert(LetterOf(test.name));
        }
        // A byte copy that does not fit keeps a reference of its output.
        for (const auto& output : scenario.outputs) {
            ReleaseKeptReferences(static_cast<RecordingBuffer&>(*output));
        }
        for (RecordingBuffer* buffer : host.Buffers()) {
            ReleaseKeptReferences(*buffer);
        }
    }
    return calls;
}

std::string Cell(const std::set<char>& letters)
{
    std::string cell;
    for (const Operation& operation : kOperations) {
        cell += letters.count(operation.letter) != 0 ? operation.letter : '.';
    }
    return "`" + cell + "`";
}

TEST(HostCalls, AreThoseOfTheGuidesTable)
{
    const auto calls = RecordedCalls();
    std::vector<std::string> expected;
    for (const std::string& call : kCalls) {
        const auto found = calls.find(call);
        ASSERT_NE(found, calls.end()) << call;
        const auto& roles = found->second;
        expected.push_back("| `" + call + "` | " + Cell(roles[kInput]) + " | " + Cell(roles[kOutput]) + " | " +
                           Cell(roles[kPool]) + " |");
    }
    EXPECT_EQ(calls.size(), kCalls.size()) << "the engine makes a call that is in no slot";

    // The rows of the table are those with three cells of letters.
    std::vector<std::string> logged;
    std::ifstream guide(ZTA_SOURCE_DIR "/docs/host-guide.md");
    const std::regex row("\\| `[A-Za-z]+`( \\| `[A-Z.]{8}`){3} \\|");
    for (std::string line; std::getline(guide, line);) {
        if (std::regex_match(line, row)) {
            logged.push_back(line);
        }
    }
    EXPECT_EQ(logged, expected);
}

} // namespace
