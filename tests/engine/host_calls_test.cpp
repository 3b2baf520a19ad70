// Which calls the engine makes on a host's buffers, over every path of every operation, against the table of the host's
// guide.

#include "testing/scenario_fixture.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zta::test {
namespace {

/// The letters of the table, in the order of its cells. Both interleave operations have one, and both deinterleave
/// operations.
constexpr std::string_view kLetters = "CDJSAPVR";

constexpr char LetterOf(OperationKind kind)
{
    constexpr std::string_view kOfKinds = "CDJSAAPPVR";
    return kOfKinds[static_cast<std::size_t>(kind)];
}

/// The calls in the order of their slots. AddRef and Release are not logged.
const std::vector<std::string> kCalls = [] {
    std::vector<std::string> calls(std::begin(zta::host::kBufferOperationNames),
                                   std::end(zta::host::kBufferOperationNames));
    std::erase(calls, "AddRef");
    std::erase(calls, "Release");
    return calls;
}();

enum Role { kInput, kOutput, kPool, kRoles };

class HostCalls : public ScenarioTest {
protected:
    /// For each call the letters of the operations that make it, by the role of the buffer.
    std::map<std::string, std::array<std::set<char>, kRoles>> RecordCalls()
    {
        std::map<std::string, std::array<std::set<char>, kRoles>> calls;
        for (const ScenarioCase& test : Scenarios()) {
            const Scenario scenario = MakeScenario(test);
            EXPECT_EQ(RunAnnounced(scenario, *engine_), test.status) << test.name;
            const auto RoleOf = [&](const std::string& buffer) {
                const auto IsNamed = [&](const auto& other) { return Recording(other).Name() == buffer; };
                return std::ranges::any_of(scenario.inputs, IsNamed)    ? kInput
                       : std::ranges::any_of(scenario.outputs, IsNamed) ? kOutput
                                                                        : kPool;
            };
            for (const std::string& entry : callLog_.Calls()) {
                const auto dot = entry.find('.');
                const std::string call = entry.substr(dot + 1, entry.find('(') - dot - 1);
                calls[call][RoleOf(entry.substr(0, dot))].insert(LetterOf(test.kind));
            }
            for (RecordingBuffer* buffer : BuffersOf(scenario)) {
                ReleaseKeptReferences(*buffer);
            }
            for (RecordingBuffer* buffer : host_.Buffers()) {
                ReleaseKeptReferences(*buffer);
            }
        }
        return calls;
    }
};

std::string Cell(const std::set<char>& operations)
{
    std::string cell;
    for (const char letter : kLetters) {
        cell += operations.contains(letter) ? letter : '.';
    }
    return "`" + cell + "`";
}

TEST_F(HostCalls, AreThoseOfTheGuidesTable)
{
    const auto calls = RecordCalls();
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
} // namespace zta::test
