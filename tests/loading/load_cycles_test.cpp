// Loads, uses and unloads the module a thousand times: it leaves the process each time, frees its memory, and reports
// at every step whether it can be unloaded. This program is not linked against the module.

#include "host/audio_buffer.h"
#include "host/formats.h"
#include "host/host_engine.h"
#include "host/module.h"

#include <zta/status.h>
#include <zta/unknown.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <malloc.h>
#include <unistd.h>

namespace {

using zta::host::AudioBuffer;
using zta::host::HostEngine;
using zta::host::Module;
using zta::host::Ref;

#ifdef ZTA_INSTRUMENTED
constexpr int kRounds = 30;
#else
constexpr int kRounds = 1000;
#endif

bool IsMapped()
{
    std::ifstream maps("/proc/self/maps");
    EXPECT_TRUE(maps.good());
    bool found = false;
    for (std::string line; std::getline(maps, line);) {
        found = found || line.find(ZTA_MODULE_PATH) != std::string::npos;
    }
    return found;
}

/// Gives every engine the same buffers, so that a thousand engines do not clear 25 MB each.
class ThriftyHost final : public HostEngine {
public:
    [[nodiscard]] static Ref<ThriftyHost> Create() { return Ref<ThriftyHost>::Adopt(new ThriftyHost); }

    int CreateAudioSamples(SZtCreateAudioSamplesDescription* request, IZtAudioSamples** samples) override
    {
        if (next_ == pool_.size()) {
            pool_.push_back(AudioBuffer::Create(*request));
        }
        *samples = Ref(pool_[next_++]).Detach();
        return ZT_NOERROR;
    }

    /// Returns how many buffers the last engine created, and resets the count.
    std::size_t TakeBack() { return std::exchange(next_, 0U); }

private:
    std::vector<Ref<AudioBuffer>> pool_;
    std::size_t next_ = 0;
};

constexpr std::size_t kFrames = 64;

Ref<AudioBuffer> Filled(const SZtaWaveFormatInfo& format, std::size_t frames = kFrames)
{
    const std::size_t bytes = frames * zta::host::BytesPerFrame(format);
    auto buffer = AudioBuffer::Create(format, bytes);
    for (std::size_t i = 0; i < bytes; ++i) {
        buffer->Data()[i] = static_cast<std::byte>(i * 37);
    }
    buffer->SetValidLength(bytes);
    return buffer;
}

/// Calls every operation on small data, with the announcements of a host. Each must succeed.
class Session {
public:
    explicit Session(IZtaAudioSamplesEngine& engine) : engine_(engine) {}

    template <class Operation, class... Arguments>
    void Run(const std::vector<Ref<AudioBuffer>>& inputs, const std::vector<Ref<AudioBuffer>>& outputs,
             Operation operation, Arguments... arguments)
    {
        for (const auto& input : inputs) {
            input->AnnounceRead();
        }
        for (const auto& output : outputs) {
            output->AnnounceWrite();
        }
        ASSERT_EQ((engine_.*operation)(arguments...), ZT_NOERROR);
        for (const auto* buffers : {&inputs, &outputs}) {
            for (const auto& buffer : *buffers) {
                ASSERT_EQ(buffer->ReadCount() + buffer->WriteCount() + buffer->PairingViolations(), 0);
            }
        }
    }

    void Copy(const SZtaWaveFormatInfo& from, const SZtaWaveFormatInfo& to, bool fade = false)
    {
        const auto source = Filled(from);
        const auto destination = Filled(to);
        source->SetFades(fade, fade);
        Run({source}, {destination}, &IZtaAudioSamplesEngine::CopyAudioSamples, source.Get(), destination.Get());
    }

    void Duplicate()
    {
        const auto source = Filled(zta::host::Pcm16(2));
        const auto destination = Filled(zta::host::Pcm16(2));
        Run({source}, {destination}, &IZtaAudioSamplesEngine::DuplicateAudioSamples, source.Get(), 8UL,
            destination.Get(), 16UL, 32UL);
    }

    void JoinAndSplitStereo()
    {
        const auto left = Filled(zta::host::Pcm24In32(1));
        const auto right = Filled(zta::host::Pcm24In32(1));
        const auto stereo = Filled(zta::host::Pcm24In32(2));
        Run({left, right}, {stereo}, &IZtaAudioSamplesEngine::CopyAudioSamplesMonoToStereo, left.Get(), right.Get(),
            stereo.Get());
        Run({stereo}, {left, right}, &IZtaAudioSamplesEngine::CopyAudioSamplesStereoToMono, stereo.Get(), left.Get(),
            right.Get());
    }

    void JoinAndSplitMux(std::uint32_t channels)
    {
        const auto mux = Filled(zta::host::Pcm24In32(channels));
        std::vector<SZtAudioMonoVolumeInfo> volumes(channels, SZtAudioMonoVolumeInfo{0, 1.0F, 0.5F});
        for (const std::uint32_t channelsPerBuffer : {1U, 2U}) {
            std::vector<Ref<AudioBuffer>> buffers;
            std::vector<IZtAudioSamples*> pointers;
            for (std::uint32_t i = 0; i < channels / channelsPerBuffer; ++i) {
                buffers.push_back(Filled(zta::host::Pcm24In32(channelsPerBuffer)));
                pointers.push_back(buffers.back().Get());
            }
            using Engine = IZtaAudioSamplesEngine;
            const auto interleave =
                channelsPerBuffer == 1 ? &Engine::CopyAudioSamplesMonoToMux : &Engine::CopyAudioSamplesStereoToMux;
            const auto deinterleave =
                channelsPerBuffer == 1 ? &Engine::CopyAudioSamplesMuxToMono : &Engine::CopyAudioSamplesMuxToStereo;
            const unsigned long count = pointers.size();
            const unsigned long volumeCount = volumes.size();
            Run(buffers, {mux}, interleave, pointers.data(), count, mux.Get(), volumes.data(), volumeCount);
            Run({mux}, buffers, deinterleave, mux.Get(), pointers.data(), count, volumes.data(), volumeCount);
        }
    }

    void Volume()
    {
        const auto buffer = Filled(zta::host::Pcm24In32(2));
        std::array<SZtAudioMonoVolumeInfo, 2> volumes{{{0, 0.0F, 1.0F}, {1, 2.0F, 0.5F}}};
        Run({buffer}, {buffer}, &IZtaAudioSamplesEngine::ApplyVolume, buffer.Get(), buffer.Get(), volumes.data(), 2UL);
    }

    /// Two buffers of one stream; the stream is left to the caller.
    void Resample(std::uint32_t channels, std::uint32_t from, std::uint32_t to, Ref<IUnknown>& stream)
    {
        auto fromFormat = zta::host::Pcm16(channels, from);
        auto toFormat = zta::host::Pcm16(channels, to);
        ASSERT_EQ(engine_.CreateAudioResampler(&fromFormat, &toFormat, stream.Put()), ZT_NOERROR);
        for (const auto mode : {keZtAudioResamplerModeRestart, keZtAudioResamplerModeContinue}) {
            const auto input = Filled(fromFormat, 441);
            const auto output = Filled(toFormat, 600);
            Run({input}, {output}, &IZtaAudioSamplesEngine::ProcessAudioResampler, input.Get(), output.Get(), mode,
                stream.Get());
            ASSERT_GE(output->Length(), 389 * zta::host::BytesPerFrame(toFormat));
        }
    }

private:
    IZtaAudioSamplesEngine& engine_;
};

void UseEveryOperation(IZtaAudioSamplesEngine& engine, Ref<IUnknown>& stream)
{
    using namespace zta::host;
    Session session(engine);
    session.Copy(Pcm16(2), Pcm16(2));
    session.Copy(Pcm16(2), Pcm24In32(2), true);
    session.Copy(Float32(1), Pcm24In32(1));
    session.Copy(Pcm24In24(8), Pcm24In32(8));
    session.Copy(Multi24(2), Pcm24In32(2));
    session.Duplicate();
    session.JoinAndSplitStereo();
    session.JoinAndSplitMux(4);
    session.JoinAndSplitMux(16);
    session.Volume();
    session.Resample(1, 44100, 48000, stream);
    session.Resample(2, 48000, 44100, stream);

    // A failure, to cover the log.
    const auto source = Filled(Pcm16(1));
    const auto stereo = Filled(Pcm16(2));
    EXPECT_EQ(engine.CopyAudioSamples(source.Get(), stereo.Get()), ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH);
}

void LoadUseAndUnload(ThriftyHost& host)
{
    ASSERT_FALSE(IsMapped());
    Module module(ZTA_MODULE_PATH);
    ASSERT_TRUE(IsMapped());
    ASSERT_TRUE(module.CanUnload());

    void* object = nullptr;
    const auto getClassObject = module.Symbol<decltype(&DllGetClassObject)>("DllGetClassObject");
    ASSERT_EQ(getClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &object), ZT_NOERROR);
    auto classFactory = Ref<IClassFactory>::Adopt(static_cast<IClassFactory*>(object));
    ASSERT_FALSE(module.CanUnload()) << "a class factory is alive";

    ASSERT_EQ(classFactory->CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &object), ZT_NOERROR);
    auto factory = Ref<IZtaAudioSamplesEngineFactory>::Adopt(static_cast<IZtaAudioSamplesEngineFactory*>(object));
    ASSERT_EQ(classFactory->LockServer(1), 0);
    classFactory.Reset();
    ASSERT_FALSE(module.CanUnload()) << "the engine's factory is alive, and a lock is in force";

    Ref<IZtaAudioSamplesEngine> engine;
    ASSERT_EQ(factory->CreateAudioSamplesEngine(&host, 0, engine.Put()), ZT_NOERROR);
    factory.Reset();
    ASSERT_FALSE(module.CanUnload()) << "an engine is alive";

    Ref<IUnknown> stream;
    UseEveryOperation(*engine, stream);
    engine.Reset();
    ASSERT_EQ(host.TakeBack(), 131U);
    ASSERT_FALSE(module.CanUnload()) << "a stream is alive, and a lock is in force";
    stream.Reset();
    ASSERT_FALSE(module.CanUnload()) << "a lock is in force";

    ASSERT_EQ(getClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &object), ZT_NOERROR);
    classFactory = Ref<IClassFactory>::Adopt(static_cast<IClassFactory*>(object));
    ASSERT_EQ(classFactory->LockServer(0), 0);
    ASSERT_FALSE(module.CanUnload()) << "a class factory is alive";
    classFactory.Reset();
    ASSERT_TRUE(module.CanUnload());

    module.Unload();
    ASSERT_FALSE(IsMapped());
}

/// Returns the allocated bytes, from the heap and from mappings.
std::size_t AllocatedBytes()
{
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::size_t ResidentBytes()
{
    std::ifstream statm("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    statm >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(LoadCycles, TheModuleComesAndGoesAThousandTimesAndLeavesNothingBehind)
{
    const auto host = ThriftyHost::Create();
    const int warm = kRounds / 10;
    [[maybe_unused]] std::size_t allocated = 0;
    [[maybe_unused]] std::size_t resident = 0;
    for (int round = 1; round <= kRounds; ++round) {
        LoadUseAndUnload(*host);
        ASSERT_FALSE(HasFatalFailure() || HasNonfatalFailure()) << "round " << round;
        if (round == warm) {
            allocated = AllocatedBytes();
            resident = ResidentBytes();
        }
    }
#ifndef ZTA_INSTRUMENTED
    // Not one block more in 900 rounds. CTest turns off the allocator's thread cache, in which freed blocks count as
    // allocated.
    const char* tunables = std::getenv("GLIBC_TUNABLES");
    const bool exact = tunables != nullptr && std::strstr(tunables, "tcache_count=0") != nullptr;
    EXPECT_LE(AllocatedBytes(), allocated + (exact ? 0 : 65536));
    EXPECT_LT(ResidentBytes(), resident + (1U << 20));
#endif
}

} // namespace
