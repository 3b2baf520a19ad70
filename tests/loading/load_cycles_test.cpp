// Loads, uses and unloads the module a thousand times: it leaves the process each time, frees its memory, and reports
// at every step whether it can be unloaded. This program is not linked against the module.

#include "host/audio_buffer.h"
#include "host/formats.h"
#include "host/host_engine.h"
#include "host/module.h"
#include "testing/operations.h"

#include <zta/status.h>
#include <zta/unknown.h>

#include <gtest/gtest.h>

#include <algorithm>
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
using zta::test::OperationCall;
using Kind = zta::test::OperationKind;

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

Ref<AudioBuffer> Filled(const SZtaWaveFormatInfo& format, std::size_t frames)
{
    const std::size_t bytes = frames * zta::host::BytesPerFrame(format);
    auto buffer = AudioBuffer::Create(format, bytes);
    for (std::size_t i = 0; i < bytes; ++i) {
        buffer->Data()[i] = static_cast<std::byte>(i * 37);
    }
    buffer->SetValidLength(bytes);
    return buffer;
}

/// The buffers of an operation on its inputs, or on its outputs.
struct Operands {
    SZtaWaveFormatInfo format;
    std::size_t frames = 64;
    bool fades = false;
};

/// Makes a call on new buffers, with the announcements of a host. It must succeed.
void Run(IZtaAudioSamplesEngine& engine, OperationCall call, const Operands& in, const Operands& out)
{
    const std::uint32_t channels = std::max(in.format.ulChannels, out.format.ulChannels);
    const auto counts = zta::test::CountBuffers(call.kind, channels);
    std::vector<Ref<AudioBuffer>> buffers;
    for (std::uint32_t i = 0; i < counts.inputs; ++i) {
        buffers.push_back(Filled(in.format, in.frames));
        buffers.back()->SetFades(in.fades, in.fades);
        buffers.back()->AnnounceRead();
        call.inputs.push_back(buffers.back().Get());
    }
    for (std::uint32_t i = 0; i < counts.outputs; ++i) {
        buffers.push_back(Filled(out.format, out.frames));
        buffers.back()->AnnounceWrite();
        call.outputs.push_back(buffers.back().Get());
    }
    ASSERT_EQ(call.Run(engine), ZT_NOERROR);
    for (const auto& buffer : buffers) {
        ASSERT_EQ(buffer->ReadCount() + buffer->WriteCount() + buffer->PairingViolations(), 0);
    }
    if (call.kind == Kind::Resample) {
        ASSERT_GE(buffers.back()->Length(), 389 * zta::host::BytesPerFrame(out.format));
    }
}

/// Two buffers of one stream; the stream is left to the caller.
void Resample(IZtaAudioSamplesEngine& engine, SZtaWaveFormatInfo from, SZtaWaveFormatInfo to, Ref<IUnknown>& stream)
{
    ASSERT_EQ(engine.CreateAudioResampler(&from, &to, stream.Put()), ZT_NOERROR);
    for (const auto mode : {keZtAudioResamplerModeRestart, keZtAudioResamplerModeContinue}) {
        Run(engine, {.kind = Kind::Resample, .mode = mode, .stream = stream.Get()}, {from, 441}, {to, 600});
    }
}

void UseEveryOperation(IZtaAudioSamplesEngine& engine, Ref<IUnknown>& stream)
{
    using namespace zta::host;
    Run(engine, {Kind::Copy}, {Pcm16(2)}, {Pcm16(2)});
    Run(engine, {Kind::Copy}, {.format = Pcm16(2), .fades = true}, {Pcm24In32(2)});
    Run(engine, {Kind::Copy}, {Float32(1)}, {Pcm24In32(1)});
    Run(engine, {Kind::Copy}, {Pcm24In24(8)}, {Pcm24In32(8)});
    Run(engine, {Kind::Copy}, {Multi24(2)}, {Pcm24In32(2)});
    Run(engine, {.kind = Kind::Duplicate, .sourceOffset = 8, .destinationOffset = 16, .length = 32}, {Pcm16(2)},
        {Pcm16(2)});
    Run(engine, {Kind::MonoToStereo}, {Pcm24In32(1)}, {Pcm24In32(2)});
    Run(engine, {Kind::StereoToMono}, {Pcm24In32(2)}, {Pcm24In32(1)});
    for (const std::uint32_t channels : {4U, 16U}) {
        const std::vector<SZtAudioMonoVolumeInfo> volumes(channels, {0, 1.0F, 0.5F});
        const Operands mux = {Pcm24In32(channels)};
        Run(engine, {.kind = Kind::MonoToMux, .volumes = volumes}, {Pcm24In32(1)}, mux);
        Run(engine, {.kind = Kind::MuxToMono, .volumes = volumes}, mux, {Pcm24In32(1)});
        Run(engine, {.kind = Kind::StereoToMux, .volumes = volumes}, {Pcm24In32(2)}, mux);
        Run(engine, {.kind = Kind::MuxToStereo, .volumes = volumes}, mux, {Pcm24In32(2)});
    }
    Run(engine, {.kind = Kind::Volume, .volumes = {{0, 0.0F, 1.0F}, {1, 2.0F, 0.5F}}}, {Pcm24In32(2)}, {Pcm24In32(2)});
    Resample(engine, Pcm16(1, 44100), Pcm16(1, 48000), stream);
    Resample(engine, Pcm16(2, 48000), Pcm16(2, 44100), stream);

    // A failure, to cover the log.
    const auto source = Filled(Pcm16(1), 64);
    const auto stereo = Filled(Pcm16(2), 64);
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
