// The scratch buffers: hosts that create them in an unusual way, and the order in which the engine releases them.

#include "testing/engine_fixture.h"
#include "testing/misbehaving_buffer.h"
#include "testing/scenarios.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zta::test {
namespace {

/// The name of scratch buffer `index`, in the order of creation.
std::string ScratchName(int index)
{
    if (index < 3) {
        return "scratch" + std::to_string(index);
    }
    return ((index - 3) % 2 == 0 ? "fade" : "convert") + std::to_string((index - 3) / 2);
}

/// A host whose scratch buffers record their last Release, and whose `oddIndex`-th request has an unusual outcome.
class PoolHost : public RecordingHost {
public:
    enum class Outcome {
        Success,
        FailureWithBuffer, ///< fails, and returns a buffer with a reference
        SuccessWithout,    ///< succeeds, and returns null
    };

    PoolHost(CallLog& log, int oddIndex, Outcome outcome)
        : RecordingHost(log), log_(log), oddIndex_(oddIndex), outcome_(outcome)
    {
    }

    int CreateAudioSamples(SZtCreateAudioSamplesDescription* description, IZtAudioSamples** samples) override
    {
        const int index = requests_++;
        const bool isOdd = index == oddIndex_;
        if (isOdd && outcome_ == Outcome::SuccessWithout) {
            *samples = nullptr;
            return ZT_NOERROR;
        }
        const std::string name = ScratchName(index);
        auto buffer = MisbehavingBuffer::Create(log_, name, description->sWaveFormat, description->ui64BufferSize);
        buffer->onReleased = [this, name] { releases_.push_back(name); };
        *samples = buffer.Detach();
        return isOdd && outcome_ == Outcome::FailureWithBuffer ? kInjectedFailure : ZT_NOERROR;
    }

    [[nodiscard]] int Requests() const { return requests_; }

    /// The names of the released scratch buffers, in order.
    [[nodiscard]] const std::vector<std::string>& Releases() const { return releases_; }

private:
    CallLog& log_;
    int oddIndex_;
    Outcome outcome_;
    int requests_ = 0;
    std::vector<std::string> releases_;
};

constexpr int kPoolSize = 131;

/// The names of the first `count` scratch buffers, without that of `omitted`.
std::vector<std::string> ScratchNames(int count, int omitted = kPoolSize)
{
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        if (i != omitted) {
            names.push_back(ScratchName(i));
        }
    }
    return names;
}

TEST(Pool, IsReleasedBeforeTheOperandsThatADirectCallHasSaved)
{
    CallLog log;
    PoolHost host(log, kPoolSize, PoolHost::Outcome::Success);
    auto engine = CreateEngine(host);
    std::vector<std::string> releases;
    std::vector<host::Ref<MisbehavingBuffer>> operands;
    for (const char* name : {"input", "output", "operand0", "operand1", "operand2"}) {
        operands.push_back(MisbehavingBuffer::Create(log, name, host::Pcm16(1), 20U));
        operands.back()->onReleased = [&, name] {
            EXPECT_EQ(host.Releases().size(), static_cast<std::size_t>(kPoolSize)) << name;
            releases.emplace_back(name);
        };
    }
    IZtAudioSamples* array[] = {operands[2].Get(), operands[3].Get(), operands[4].Get()};
    auto& object = static_cast<CZtaAudioSamplesEngine&>(*engine);
    ASSERT_EQ(object.SaveInfoMux(operands[0].Get(), operands[1].Get(), array, 3, nullptr, 0), ZT_NOERROR);
    engine.Reset();
    EXPECT_EQ(releases, (std::vector<std::string>{"input", "output", "operand0", "operand1", "operand2"}));
    for (const auto& operand : operands) {
        EXPECT_EQ(operand->References(), 1) << operand->Name();
        operand->onReleased = nullptr;
    }
}

TEST(Pool, IncludesABufferThatAFailingRequestReturns)
{
    const long buffersBefore = host::AudioBuffer::LiveCount();
    for (int odd = 0; odd < kPoolSize; ++odd) {
        SCOPED_TRACE(odd);
        CallLog log;
        PoolHost host(log, odd, PoolHost::Outcome::FailureWithBuffer);
        int status = 0;
        auto engine = CreateEngine(host, &status);
        EXPECT_EQ(status, kInjectedFailure);
        ASSERT_TRUE(engine);
        EXPECT_EQ(host.Requests(), odd + 1) << "the first failure stops the creation";
        engine.Reset();
        EXPECT_EQ(host.Releases(), ScratchNames(odd + 1)) << "the host's reference is released once";
        EXPECT_EQ(host::AudioBuffer::LiveCount(), buffersBefore);
    }
}

TEST(Pool, IsReleasedInTheOrderOfItsCreationAlsoWithoutABufferThatASuccessfulRequestDoesNotReturn)
{
    for (int odd = 0; odd <= kPoolSize; ++odd) { // in the last round no request is odd
        SCOPED_TRACE(odd);
        CallLog log;
        PoolHost host(log, odd, PoolHost::Outcome::SuccessWithout);
        int status = 0;
        auto engine = CreateEngine(host, &status);
        EXPECT_EQ(status, ZT_NOERROR);
        ASSERT_TRUE(engine);
        EXPECT_EQ(host.Requests(), kPoolSize) << "the creation goes on";
        EXPECT_TRUE(host.Releases().empty());

        // An operation that needs no scratch buffer works.
        auto source = RecordingBuffer::Create(log, "source", host::Pcm16(1), 20);
        source->SetValidLength(20);
        auto destination = RecordingBuffer::Create(log, "destination", host::Pcm24In32(1), 40);
        EXPECT_EQ(engine->CopyAudioSamples(source.Get(), destination.Get()), ZT_NOERROR);
        EXPECT_EQ(destination->Length(), 40U);

        engine.Reset();
        EXPECT_EQ(host.Releases(), ScratchNames(kPoolSize, odd));
    }
}

TEST(Pool, WithoutABufferMakesTheOperationsFailThatNeedIt)
{
    CallLog log;
    PoolHost completeHost(log, kPoolSize, PoolHost::Outcome::Success);
    auto completeEngine = CreateEngine(completeHost);
    // The three scratch buffers, and those of the first two inputs of a mux.
    for (const int odd : {0, 1, 2, 3, 4, 5, 6}) {
        PoolHost host(log, odd, PoolHost::Outcome::SuccessWithout);
        auto engine = CreateEngine(host);
        const std::string missing = ScratchName(odd) + ".";
        int failures = 0;
        for (const ScenarioCase& test : Scenarios()) {
            if (test.status < 0) {
                continue; // can fail before it needs the buffer
            }
            SCOPED_TRACE(missing + " " + test.name);
            log.Clear();
            EXPECT_EQ(RunAnnounced(test.Make(), *completeEngine), test.status);
            const Calls calls = log.Calls();
            const bool isNeeded =
                std::any_of(calls.begin(), calls.end(), [&](const auto& call) { return call.starts_with(missing); });
            failures += isNeeded ? 1 : 0;

            const Scenario scenario = test.Make();
            EXPECT_EQ(RunAnnounced(scenario, *engine), isNeeded ? ZT_E_NOT_INITIALIZED : test.status);
            for (const auto& output : scenario.outputs) {
                EXPECT_EQ(output->ErrorCode() == ZT_E_NOT_INITIALIZED, isNeeded);
                EXPECT_EQ(output->References(), 1);
            }
            EXPECT_TRUE(IsSignaled(scenario));
        }
        EXPECT_GT(failures, 0) << missing;
    }
}

} // namespace
} // namespace zta::test
