// Engines and threads: separate engines share nothing, and one engine serves one caller at a time.

#include "host/audio_buffer.h"
#include "host/formats.h"
#include "host/host_engine.h"
#include "host/instrumented_buffer.h"
#include "testing/noise.h"
#include "testing/recording_host.h"
#include "testing/scenarios.h"

#include <zta/status.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <iterator>
#include <thread>
#include <vector>

namespace zta::test {
namespace {

using Bytes = std::vector<std::byte>;

/// Runs `body(thread)` on `count` threads and waits for them.
void RunOnThreads(int count, const std::function<void(int thread)>& body)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < count; ++t) {
        threads.emplace_back(body, t);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(EngineThreads, EnginesOnManyThreadsDoNotDisturbEachOther)
{
    auto hostEngine = host::HostEngine::Create();
    std::vector<ScenarioCase> tests;
    std::copy_if(Scenarios().begin(), Scenarios().end(), std::back_inserter(tests),
                 [](const ScenarioCase& test) { return !test.leaksReference; });
    std::vector<std::vector<Bytes>> expected;
    {
        auto engine = CreateEngine(*hostEngine);
        for (const ScenarioCase& test : tests) {
            const Scenario scenario = test.Make();
            RunAnnounced(scenario, *engine);
            expected.push_back(OutputBytes(scenario));
        }
    }
    std::atomic<int> wrong{0};
    RunOnThreads(8, [&](int t) {
        auto engine = CreateEngine(*hostEngine);
        for (std::size_t round = 0; round < 2 * tests.size(); ++round) {
            const std::size_t i = (round + static_cast<std::size_t>(t)) % tests.size();
            const Scenario scenario = tests[i].Make();
            const int status = RunAnnounced(scenario, *engine);
            wrong += status != tests[i].status || OutputBytes(scenario) != expected[i];
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(EngineThreads, ManyCallersOfOneEngineWinOneAtATime)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 2000;
    constexpr std::size_t kFrames = 256;
    auto hostEngine = host::HostEngine::Create();
    auto engine = CreateEngine(*hostEngine);
    std::atomic<int> done{0};
    std::atomic<int> busy{0};
    std::atomic<int> wrong{0};
    RunOnThreads(kThreads, [&](int t) {
        auto source = host::AudioBuffer::Create(host::Pcm16(1), kFrames * 2);
        auto destination = host::AudioBuffer::Create(host::Pcm24In32(1), kFrames * 4);
        const auto sample = static_cast<std::int16_t>(t + 1);
        for (std::size_t i = 0; i < kFrames; ++i) {
            std::memcpy(source->Data() + 2 * i, &sample, sizeof(sample));
        }
        source->SetValidLength(kFrames * 2);
        for (int round = 0; round < kRounds; ++round) {
            std::memset(destination->Data(), 0, destination->Capacity());
            destination->ClearErrorCode();
            source->AnnounceRead();
            destination->AnnounceWrite();
            const int status = engine->CopyAudioSamples(source.Get(), destination.Get());
            std::int32_t last = 0;
            std::memcpy(&last, destination->Data() + 4 * (kFrames - 1), sizeof(last));
            const bool won = status == ZT_NOERROR && last == sample * 65536 && destination->ErrorCode() == 0;
            const bool lost = status == ZT_E_MODULE_BUSY && last == 0 && destination->ErrorCode() == status;
            done += won;
            busy += lost;
            wrong += !won && !lost;
            wrong += source->ReadCount() != 0 || destination->WriteCount() != 0;
            wrong += source->PairingViolations() + destination->PairingViolations();
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(done + busy, kThreads * kRounds);
    EXPECT_GT(done, 0);
}

/// Finds out how many threads are inside SetLength, which only a worker calls: the calling thread has set the engine's
/// busy flag.
struct OverlapDetector : host::BufferPolicy {
    static inline std::atomic<int> inside{0};
    static inline std::atomic<int> maxInside{0};

    template <class Proceed>
    int Call(const host::BufferCall& call, Proceed proceed)
    {
        if (call.operation == host::BufferOperation::SetLength) {
            maxInside = std::max<int>(maxInside, ++inside);
            std::this_thread::yield();
            --inside;
        }
        return proceed();
    }
};

TEST(EngineThreads, CallersOfOneEngineAreNeverInsideTogether)
{
    constexpr std::size_t kFrames = 64;
    auto hostEngine = host::HostEngine::Create();
    auto engine = CreateEngine(*hostEngine);
    std::atomic<int> done{0};
    std::atomic<int> wrong{0};
    OverlapDetector::maxInside = 0;
    RunOnThreads(8, [&](int /*thread*/) {
        auto left = host::AudioBuffer::Create(host::Pcm16(1), kFrames * 2);
        auto right = host::AudioBuffer::Create(host::Pcm16(1), kFrames * 2);
        left->SetValidLength(kFrames * 2);
        right->SetValidLength(kFrames * 2);
        using WatchedBuffer = host::InstrumentedBuffer<OverlapDetector>;
        auto wide = WatchedBuffer::Create(host::Pcm24In32(1), kFrames * 4);
        auto stereo = WatchedBuffer::Create(host::Pcm16(2), kFrames * 4);
        for (int round = 0; round < 500; ++round) {
            left->AnnounceRead();
            wide->AnnounceWrite();
            const int copied = engine->CopyAudioSamples(left.Get(), wide.Get());
            left->AnnounceRead();
            right->AnnounceRead();
            stereo->AnnounceWrite();
            const int paired = engine->CopyAudioSamplesMonoToStereo(left.Get(), right.Get(), stereo.Get());
            for (const int status : {copied, paired}) {
                done += status == ZT_NOERROR;
                wrong += status != ZT_NOERROR && status != ZT_E_MODULE_BUSY;
            }
            wrong += left->ReadCount() + right->ReadCount() + wide->WriteCount() + stereo->WriteCount();
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(done, 0);
    EXPECT_EQ(OverlapDetector::maxInside, 1);
}

TEST(EngineThreads, EnginesComeAndGoOnManyThreads)
{
    auto hostEngine = host::HostEngine::Create();
    const long buffersBefore = host::AudioBuffer::LiveCount();
    RunOnThreads(8, [&](int /*thread*/) {
        for (int round = 0; round < 5; ++round) {
            auto engine = CreateEngine(*hostEngine);
            EXPECT_TRUE(engine);
        }
    });
    EXPECT_EQ(host::AudioBuffer::LiveCount(), buffersBefore);
}

TEST(EngineThreads, ABufferWaitsForItsCompletionOnAnotherThread)
{
    auto hostEngine = host::HostEngine::Create();
    auto engine = CreateEngine(*hostEngine);
    auto source = host::AudioBuffer::Create(host::Pcm16(1), 2000);
    source->SetValidLength(2000);
    auto destination = host::AudioBuffer::Create(host::Float32(1), 4000);
    for (int round = 0; round < 200; ++round) {
        source->AnnounceRead();
        destination->AnnounceWrite();
        std::thread worker([&] { engine->CopyAudioSamples(source.Get(), destination.Get()); });
        EXPECT_TRUE(destination->WaitForCompletion(std::chrono::seconds(10)));
        EXPECT_EQ(destination->Length(), 4000U);
        worker.join();
    }
}

TEST(EngineThreads, StreamsOnManyThreadsDoNotDisturbEachOther)
{
    constexpr std::size_t kFrames = 4000;
    auto hostEngine = host::HostEngine::Create();
    const auto resampled = [&](std::uint32_t seed) {
        auto engine = CreateEngine(*hostEngine);
        SZtaWaveFormatInfo from = host::Pcm16(2, 44100);
        SZtaWaveFormatInfo to = host::Pcm16(2, 48000);
        host::Ref<IUnknown> stream;
        EXPECT_EQ(engine->CreateAudioResampler(&from, &to, stream.Put()), 0);
        auto input = host::AudioBuffer::Create(from, kFrames * 4);
        auto output = host::AudioBuffer::Create(to, kFrames * 5);
        input->SetValidLength(kFrames * 4);
        Noise noise(seed);
        Bytes samples;
        for (int block = 0; block < 20; ++block) {
            noise.Fill(input->Data(), input->Capacity());
            input->AnnounceRead();
            output->AnnounceWrite();
            const auto mode = block == 0 ? keZtAudioResamplerModeRestart : keZtAudioResamplerModeContinue;
            EXPECT_EQ(engine->ProcessAudioResampler(input.Get(), output.Get(), mode, stream.Get()), 0);
            samples.insert(samples.end(), output->Data(), output->Data() + output->Length());
        }
        return samples;
    };
    std::vector<Bytes> expected;
    for (std::uint32_t t = 0; t < 4; ++t) {
        expected.push_back(resampled(t));
    }
    std::vector<Bytes> found(expected.size());
    RunOnThreads(4, [&](int t) { found[static_cast<std::size_t>(t)] = resampled(static_cast<std::uint32_t>(t)); });
    EXPECT_EQ(found, expected);
}

} // namespace
} // namespace zta::test
