// Every path of every operation under the trap.

#include "tests/realtime/realtime_test_support.h"
#include "tests/support/scenarios.h"

namespace {

using zta::host::AudioBuffer;
using zta::host::Ref;
using zta::test::ClocklessBuffer;
using zta::test::Scenario;
using zta::test::ScenarioRow;

class OperationsRealtime : public zta::test::RealtimeEngine, public testing::WithParamInterface<ScenarioRow> {};

TEST_P(OperationsRealtime, NeitherAllocateNorLockNorEnterTheKernel)
{
    if (GetParam().leavesReference && !zta::test::RealtimeTrap::IsAvailable()) {
        GTEST_SKIP() << "the sanitizer would report the reference that stays";
    }
    const Scenario scenario =
        GetParam().make([](const std::string& /*name*/, const SZtaWaveFormatInfo& format, std::size_t bytes) {
            const std::size_t frameBytes = zta::host::BytesPerFrame(format);
            return Ref<AudioBuffer>::Adopt(ClocklessBuffer::Create(format, bytes / frameBytes).Detach());
        });
    for (const auto& input : scenario.inputs) {
        input->AnnounceRead();
    }
    for (const auto& output : scenario.outputs) {
        output->AnnounceWrite();
    }
    int status = 1;
    zta::test::ExpectRealtimeSafe([&] { status = scenario.run(*engine_); });
    EXPECT_EQ(status, GetParam().status) << module_.ErrorText(status);
}

INSTANTIATE_TEST_SUITE_P(Operations, OperationsRealtime, testing::ValuesIn(zta::test::Scenarios()),
                         [](const auto& parameter) { return parameter.param.name; });

} // namespace
