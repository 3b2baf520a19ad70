#include "host/audio_buffer.h"
#include "host/formats.h"
#include "host/host_engine.h"
#include "host/module.h"
#include "testing/temp_directory.h"

#include <zta/status.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

namespace {

using namespace std::chrono_literals;
using zta::host::AudioBuffer;
using zta::host::HostEngine;
using zta::host::Ref;

/// Counts references, and never deletes itself.
struct Counted {
    unsigned long AddRef() { return ++references; }
    unsigned long Release() { return --references; }

    unsigned long references = 1;
};

TEST(HostRef, AdoptsTheCallersReferenceAndRetainsOneOfItsOwn)
{
    Counted object;
    {
        const auto retained = Ref<Counted>::Retain(&object);
        EXPECT_EQ(object.references, 2U);
        EXPECT_EQ(retained.Get(), &object);
    }
    EXPECT_EQ(object.references, 1U);
    {
        const auto adopted = Ref<Counted>::Adopt(&object);
        EXPECT_EQ(object.references, 1U);
    }
    EXPECT_EQ(object.references, 0U);
}

TEST(HostRef, CopiesCountAndMovesDoNot)
{
    Counted object;
    auto first = Ref<Counted>::Adopt(&object);
    auto second = first;
    EXPECT_EQ(object.references, 2U);
    auto third = std::move(first);
    EXPECT_EQ(object.references, 2U);
    EXPECT_FALSE(first); // NOLINT(bugprone-use-after-move): a moved-from reference is empty
    EXPECT_TRUE(third);
    second = third;
    EXPECT_EQ(object.references, 2U);
    second = Ref<Counted>();
    EXPECT_EQ(object.references, 1U);
    EXPECT_EQ(third->references, 1U);
}

TEST(HostRef, CanBeAssignedToItself)
{
    Counted object;
    auto ref = Ref<Counted>::Adopt(&object);
    const auto& same = ref;
    ref = same;
    EXPECT_EQ(object.references, 1U);
    EXPECT_EQ(ref.Get(), &object);
}

TEST(HostRef, DetachesAndPutsWithoutLosingAReference)
{
    Counted old_object;
    Counted new_object;
    auto ref = Ref<Counted>::Adopt(&old_object);
    *ref.Put() = &new_object;
    EXPECT_EQ(old_object.references, 0U);
    EXPECT_EQ(ref.Detach(), &new_object);
    EXPECT_FALSE(ref);
    EXPECT_EQ(new_object.references, 1U);
}

TEST(HostFormats, CountTheBytesOfAFrame)
{
    using namespace zta::host;
    EXPECT_EQ(BytesPerFrame(Pcm16(1)), 2U);
    EXPECT_EQ(BytesPerFrame(Pcm24In24(2)), 6U);
    EXPECT_EQ(BytesPerFrame(Pcm24In32(64)), 256U);
    EXPECT_EQ(BytesPerFrame(Float32(2)), 8U);
    EXPECT_EQ(BytesPerFrame(Multi16(16)), 64U);
    EXPECT_EQ(BytesPerFrame(SZtaWaveFormatInfo{}), 0U);
}

TEST(HostFormats, HaveTheFieldsThatTheEngineCompares)
{
    const auto expect = [](const SZtaWaveFormatInfo& format, const SZtaWaveFormatInfo& fields) {
        EXPECT_EQ(std::memcmp(&format, &fields, 24), 0);
    };
    expect(zta::host::Pcm16(2, 44100), {24, 2, keZtAudioDataTypePcm, 44100, 16, 16});
    expect(zta::host::Pcm20In32(1), {24, 1, keZtAudioDataTypePcm, 48000, 32, 20});
    expect(zta::host::Pcm24In32(1), {24, 1, keZtAudioDataTypePcm, 48000, 32, 24});
    expect(zta::host::Pcm24In24(8), {24, 8, keZtAudioDataTypePcm, 48000, 24, 24});
    expect(zta::host::Float32(2), {24, 2, keZtAudioDataTypeFloat, 48000, 32, 32});
    expect(zta::host::Multi16(4), {24, 4, keZtAudioDataTypeMultiFormat, 48000, 32, 16});
    expect(zta::host::Multi24(4), {24, 4, keZtAudioDataTypeMultiFormat, 48000, 32, 24});
    expect(zta::host::Opaque(2, 32, 20, 96000), {24, 2, keZtAudioDataTypeOpaque, 96000, 32, 20});
}

TEST(HostFormats, HaveReadableNames)
{
    EXPECT_EQ(zta::host::FormatName(zta::host::Pcm16(1)), "16-in-16 mono, 48000 Hz");
    EXPECT_EQ(zta::host::FormatName(zta::host::Pcm24In32(2, 44100)), "24-in-32 stereo, 44100 Hz");
    EXPECT_EQ(zta::host::FormatName(zta::host::Float32(8)), "float 32 8 channels, 48000 Hz");
    EXPECT_EQ(zta::host::FormatName(zta::host::Multi16(1)), "multi-format 16-in-32 mono, 48000 Hz");
    EXPECT_EQ(zta::host::FormatName(zta::host::Opaque(1)), "opaque 32-in-32 mono, 48000 Hz");
    EXPECT_EQ(zta::host::FormatName({24, 1, static_cast<EZtAudioDataType>(9), 8000, 8, 8}),
              "type 9 8-in-8 mono, 8000 Hz");
}

TEST(HostAudioBuffer, StartsZeroedAlignedAndEmpty)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 1001);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer->Data()) % 64, 0U);
    EXPECT_EQ(std::count(buffer->Data(), buffer->Data() + 1001, std::byte{0}), 1001);
    EXPECT_EQ(buffer->Capacity(), 1001U);
    EXPECT_EQ(buffer->Length(), 0U);
    EXPECT_EQ(buffer->ErrorCode(), 0);
    EXPECT_EQ(buffer->ReadCount(), 0);
    EXPECT_EQ(buffer->WriteCount(), 0);
    EXPECT_EQ(buffer->WriteStartMarks(), 0);
    EXPECT_EQ(buffer->WriteStopMarks(), 0);
    EXPECT_EQ(buffer->LastWriteStart(), AudioBuffer::Clock::time_point());
    EXPECT_EQ(buffer->LastWriteStop(), AudioBuffer::Clock::time_point());
}

TEST(HostAudioBuffer, RejectsACapacityBeyondMemory)
{
    const long before = AudioBuffer::LiveCount();
    EXPECT_THROW((void)AudioBuffer::Create(zta::host::Pcm16(2), SIZE_MAX), std::bad_alloc);
    EXPECT_EQ(AudioBuffer::LiveCount(), before);
}

TEST(HostAudioBuffer, CountsReferencesAndLiveBuffers)
{
    const long before = AudioBuffer::LiveCount();
    auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    EXPECT_EQ(AudioBuffer::LiveCount(), before + 1);
    EXPECT_EQ(buffer->AddRef(), 2U);
    EXPECT_EQ(buffer->Release(), 1U);
    buffer.Reset();
    EXPECT_EQ(AudioBuffer::LiveCount(), before);
}

TEST(HostAudioBuffer, SupportsItsThreeInterfacesAndNoOther)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    for (const _GUID& id : {IID_IUnknown, IID_IZtAVContent, IID_IZtAudioSamples}) {
        void* object = nullptr;
        ASSERT_EQ(buffer->QueryInterface(id, &object), 0);
        ASSERT_EQ(object, static_cast<IZtAudioSamples*>(buffer.Get()));
        EXPECT_EQ(static_cast<IUnknown*>(object)->Release(), 1U);
    }
    void* object = buffer.Get();
    EXPECT_EQ(buffer->QueryInterface(IID_IZtQuonEnginePrivate, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(buffer->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST(HostAudioBuffer, AcceptsOneSignalForEachAnnouncement)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    buffer->AnnounceRead();
    buffer->AnnounceRead();
    buffer->AnnounceWrite();
    EXPECT_EQ(buffer->ReadCount(), 2);
    EXPECT_EQ(buffer->WriteCount(), 1);
    EXPECT_EQ(buffer->SignalReadCompletion(), 0);
    EXPECT_EQ(buffer->SignalReadCompletion(), 0);
    EXPECT_EQ(buffer->WriteCount(), 1);
    EXPECT_EQ(buffer->SignalWriteCompletion(), 0);
    EXPECT_EQ(buffer->ReadCount(), 0);
    EXPECT_EQ(buffer->WriteCount(), 0);
    EXPECT_EQ(buffer->PairingViolations(), 0);
}

TEST(HostAudioBuffer, RejectsAndCountsASignalWithoutAnnouncement)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    buffer->AnnounceWrite();
    EXPECT_EQ(buffer->SignalReadCompletion(), ZT_E_READ_COUNT_NOT_INCREMENTED);
    EXPECT_EQ(buffer->WriteCount(), 1);
    EXPECT_EQ(buffer->SignalWriteCompletion(), 0);
    EXPECT_EQ(buffer->SignalWriteCompletion(), ZT_E_WRITE_COUNT_NOT_INCREMENTED);
    EXPECT_EQ(buffer->ReadCount(), 0);
    EXPECT_EQ(buffer->WriteCount(), 0);
    EXPECT_EQ(buffer->PairingViolations(), 2);
}

TEST(HostAudioBuffer, WaitReturnsImmediatelyIfNoAccessIsOpen)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    EXPECT_TRUE(buffer->WaitForCompletion(0ns));
    EXPECT_TRUE(buffer->WaitForCompletion(std::chrono::hours(1)));
}

TEST(HostAudioBuffer, WaitEndsAfterItsTimeout)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    buffer->AnnounceRead();
    EXPECT_FALSE(buffer->WaitForCompletion(0ns));
    EXPECT_FALSE(buffer->WaitForCompletion(-1ns));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(buffer->WaitForCompletion(20ms));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

TEST(HostAudioBuffer, WaitLastsUntilTheLastOpenAccessHasEnded)
{
    // Repeated, so that the signals arrive before, while and after the waiter blocks.
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    for (int round = 0; round < 2000; ++round) {
        buffer->AnnounceRead();
        buffer->AnnounceWrite();
        std::thread engine([&buffer] {
            buffer->SignalReadCompletion();
            buffer->SignalWriteCompletion();
        });
        const auto start = std::chrono::steady_clock::now();
        const bool ended = buffer->WaitForCompletion(10s);
        const auto waited = std::chrono::steady_clock::now() - start;
        const int open = buffer->ReadCount() + buffer->WriteCount();
        engine.join();
        ASSERT_TRUE(ended);
        ASSERT_EQ(open, 0);
        ASSERT_LT(waited, 5s) << "the waiter slept until its timeout";
    }
}

TEST(HostAudioBuffer, WaitWakesEveryWaiter)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    buffer->AnnounceWrite();
    int woken[3] = {};
    std::thread waiters[3];
    for (int i = 0; i < 3; ++i) {
        waiters[i] = std::thread([&buffer, &woken, i] { woken[i] = buffer->WaitForCompletion(10s); });
    }
    const auto start = std::chrono::steady_clock::now();
    buffer->SignalWriteCompletion();
    for (auto& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(woken[0] + woken[1] + woken[2], 3);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s) << "a waiter slept until its timeout";
}

TEST(HostAudioBuffer, ReportsItsDescriptionAsSet)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    SZtaWaveFormatInfo format = zta::host::Pcm24In32(1, 44100);
    EXPECT_EQ(buffer->SetWaveFormat(&format), 0);
    EXPECT_EQ(buffer->SetPolarity(7), 0);
    EXPECT_EQ(buffer->SetFadeIn(true), 0);

    SZtAudioSamplesDescription description{};
    description.ulSize = 40;
    ASSERT_EQ(buffer->GetAudioSamplesDescription(&description), 0);
    EXPECT_EQ(description.ulSize, 40U);
    EXPECT_EQ(description.ePolarity, 7U);
    EXPECT_TRUE(description.bFadeIn);
    EXPECT_FALSE(description.bFadeOut);
    EXPECT_EQ(std::memcmp(&description.sWaveFormat, &format, sizeof(format)), 0);

    EXPECT_EQ(buffer->SetFadeOut(true), 0);
    EXPECT_EQ(buffer->SetFadeIn(false), 0);
    EXPECT_FALSE(buffer->Description().bFadeIn);
    EXPECT_TRUE(buffer->Description().bFadeOut);
    EXPECT_EQ(buffer->Polarity(), 7U);
    buffer->SetFades(true, false);
    EXPECT_TRUE(buffer->Description().bFadeIn);
    EXPECT_FALSE(buffer->Description().bFadeOut);
    buffer->SetFormat(zta::host::Float32(2));
    EXPECT_EQ(buffer->Description().sWaveFormat.eDataType, keZtAudioDataTypeFloat);
}

TEST(HostAudioBuffer, ReturnsItsDataLengthAndCapacity)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    EXPECT_EQ(buffer->SetLength(11), 0);
    void* data = nullptr;
    unsigned long value = 0;
    EXPECT_EQ(buffer->GetBufferAndLength(&data, &value), 0);
    EXPECT_EQ(data, buffer->Data());
    EXPECT_EQ(value, 11U);
    EXPECT_EQ(buffer->GetBufferCapacity(&value), 0);
    EXPECT_EQ(value, 16U);
    EXPECT_EQ(buffer->GetLengthInSampleFrames(&value), 0);
    EXPECT_EQ(value, 2U);
    buffer->SetFormat({});
    EXPECT_EQ(buffer->GetLengthInSampleFrames(&value), 0);
    EXPECT_EQ(value, 0U);
}

TEST(HostAudioBuffer, KeepsItsLengthWithinItsCapacity)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    EXPECT_EQ(buffer->SetLength(16), 0);
    EXPECT_EQ(buffer->SetLength(17), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(buffer->Length(), 16U);
    EXPECT_THROW(buffer->SetValidLength(17), std::length_error);
    buffer->SetValidLength(3);
    EXPECT_EQ(buffer->Length(), 3U);
}

TEST(HostAudioBuffer, RejectsNullPointersAndRecordsWithoutSize)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    void* data = nullptr;
    unsigned long value = 0;
    EXPECT_EQ(buffer->GetErrorCode(nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer->SetWaveFormat(nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer->GetAudioSamplesDescription(nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer->GetBufferAndLength(nullptr, &value), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer->GetBufferAndLength(&data, nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer->GetBufferCapacity(nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer->GetLengthInSampleFrames(nullptr), ZT_E_INVALID_POINTER);
    SZtAudioSamplesDescription description{};
    EXPECT_EQ(buffer->GetAudioSamplesDescription(&description), ZT_E_INVALID_PARAMETER);
}

TEST(HostAudioBuffer, KeepsTheErrorCodeUntilItIsCleared)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    EXPECT_EQ(buffer->SetErrorCode(ZT_E_MODULE_BUSY), 0);
    int code = 0;
    EXPECT_EQ(buffer->GetErrorCode(&code), 0);
    EXPECT_EQ(code, ZT_E_MODULE_BUSY);
    EXPECT_EQ(buffer->ErrorCode(), ZT_E_MODULE_BUSY);
    buffer->ClearErrorCode();
    EXPECT_EQ(buffer->ErrorCode(), 0);
}

TEST(HostAudioBuffer, CountsMarksAndKeepsTheTimeOfTheLast)
{
    const auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    const auto before = AudioBuffer::Clock::now();
    buffer->MarkWriteStartTime();
    buffer->MarkWriteStartTime();
    buffer->MarkWriteStopTime();
    const auto after = AudioBuffer::Clock::now();
    EXPECT_EQ(buffer->WriteStartMarks(), 2);
    EXPECT_EQ(buffer->WriteStopMarks(), 1);
    EXPECT_LE(before, buffer->LastWriteStart());
    EXPECT_LE(buffer->LastWriteStart(), buffer->LastWriteStop());
    EXPECT_LE(buffer->LastWriteStop(), after);
}

TEST(HostAudioBuffer, LetsADerivedHostOverrideAnyOperation)
{
    class Rejecting : public AudioBuffer {
    public:
        explicit Rejecting(bool& gone) : AudioBuffer(zta::host::Pcm16(1), 16), gone_(gone) {}
        int SetLength(unsigned long) override { return E_FAIL; }

    protected:
        ~Rejecting() override { gone_ = true; }

    private:
        bool& gone_;
    };
    bool gone = false;
    {
        const auto buffer = Ref<IZtAudioSamples>::Adopt(new Rejecting(gone));
        EXPECT_EQ(buffer->SetLength(2), E_FAIL);
        EXPECT_FALSE(gone);
    }
    EXPECT_TRUE(gone);
}

TEST(HostEngineObject, CreatesTheRequestedBufferAndDoesNotChangeTheRequest)
{
    const auto host = HostEngine::Create();
    SZtCreateAudioSamplesDescription request{};
    request.ulSize = 56;
    request.ui64BufferSize = 192000;
    request.ePolarity = 3;
    request.ulHostAttribute = 1;
    request.bFadeOut = true;
    request.sWaveFormat = zta::host::Pcm24In32(2);
    const SZtCreateAudioSamplesDescription asked = request;

    Ref<IZtAudioSamples> samples;
    ASSERT_EQ(host->CreateAudioSamples(&request, samples.Put()), 0);
    EXPECT_EQ(std::memcmp(&asked, &request, sizeof(request)), 0);
    auto* buffer = static_cast<AudioBuffer*>(samples.Get());
    EXPECT_EQ(buffer->Capacity(), 192000U);
    const SZtAudioSamplesDescription description = buffer->Description();
    EXPECT_EQ(description.ePolarity, 3U);
    EXPECT_EQ(description.ulHostAttribute, 1U);
    EXPECT_FALSE(description.bFadeIn);
    EXPECT_TRUE(description.bFadeOut);
    EXPECT_EQ(std::memcmp(&description.sWaveFormat, &request.sWaveFormat, 24), 0);
}

TEST(HostEngineObject, RejectsInvalidRequests)
{
    const auto host = HostEngine::Create();
    SZtCreateAudioSamplesDescription request{};
    IZtAudioSamples* samples = nullptr;
    EXPECT_EQ(host->CreateAudioSamples(nullptr, &samples), ZT_E_INVALID_POINTER);
    EXPECT_EQ(host->CreateAudioSamples(&request, nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(host->CreateAudioSamples(&request, &samples), ZT_E_INVALID_PARAMETER);
    request.ulSize = 56;
    request.ui64BufferSize = UINT64_MAX;
    EXPECT_EQ(host->CreateAudioSamples(&request, &samples), E_OUTOFMEMORY);
    EXPECT_EQ(samples, nullptr);
}

TEST(HostEngineObject, SupportsItsTwoInterfacesAndNoOther)
{
    const auto host = HostEngine::Create();
    for (const _GUID& id : {IID_IUnknown, IID_IZtQuonEnginePrivate}) {
        void* object = nullptr;
        ASSERT_EQ(host->QueryInterface(id, &object), 0);
        EXPECT_EQ(static_cast<IUnknown*>(object)->Release(), 1U);
    }
    void* object = host.Get();
    EXPECT_EQ(host->QueryInterface(IID_IZtAudioSamples, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(host->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

/// Returns the message of the exception of `action`, or "".
template <class Action>
std::string Message(Action action)
{
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

TEST(HostModule, NamesTheFileThatItCannotLoad)
{
    const std::string message = Message([] { zta::host::Module module("/nowhere/engine.so"); });
    EXPECT_NE(message.find("cannot load /nowhere/engine.so: "), std::string::npos) << message;
    EXPECT_EQ(message.find('\n'), std::string::npos);
}

TEST(HostModule, RejectsALibraryThatIsNotAModule)
{
    EXPECT_EQ(Message([] { zta::host::Module module("libm.so.6"); }), "libm.so.6 does not export DllEntryPoint");
}

TEST(HostModule, IsInUseWhileAnEngineExists)
{
    zta::host::Module module(ZTA_MODULE_PATH);
    const auto host = HostEngine::Create();
    const long before = AudioBuffer::LiveCount();
    EXPECT_TRUE(module.CanUnload());
    auto engine = module.CreateEngine(*host.Get());
    ASSERT_TRUE(engine);
    EXPECT_EQ(AudioBuffer::LiveCount(), before + 131);
    EXPECT_FALSE(module.CanUnload());
    EXPECT_THROW(module.Unload(), std::logic_error);
    engine.Reset();
    EXPECT_EQ(AudioBuffer::LiveCount(), before);
    EXPECT_TRUE(module.CanUnload());
    module.Unload();
    EXPECT_THROW(module.Unload(), std::logic_error);
    EXPECT_THROW((void)module.CanUnload(), std::logic_error);
}

TEST(HostModule, ReturnsTheHostsFailureAndLeaksNothing)
{
    class FailingHost : public HostEngine {
    public:
        int CreateAudioSamples(SZtCreateAudioSamplesDescription* request, IZtAudioSamples** samples) override
        {
            return ++requests_ < 10 ? HostEngine::CreateAudioSamples(request, samples) : ZT_E_NOT_IMPLEMENTED;
        }

    private:
        int requests_ = 0;
    };
    zta::host::Module module(ZTA_MODULE_PATH);
    const auto host = Ref<FailingHost>::Adopt(new FailingHost());
    const long before = AudioBuffer::LiveCount();
    try {
        (void)module.CreateEngine(*host.Get());
        FAIL() << "the engine was created without its pool";
    } catch (const zta::host::ModuleError& error) {
        EXPECT_EQ(error.Status(), ZT_E_NOT_IMPLEMENTED);
        EXPECT_NE(std::string(error.what()).find("0x89998003 (ZT_E_NOT_IMPLEMENTED: "), std::string::npos)
            << error.what();
    }
    EXPECT_EQ(AudioBuffer::LiveCount(), before);
    EXPECT_TRUE(module.CanUnload());
}

TEST(HostModule, ReturnsTheTextOfAStatus)
{
    const zta::host::Module module(ZTA_MODULE_PATH);
    EXPECT_EQ(module.ErrorText(ZT_E_MODULE_BUSY),
              "ZT_E_MODULE_BUSY: The module is still processing the last requested operation.");
    EXPECT_EQ(module.ErrorText(2), "Unknown error");
}

TEST(HostModule, ReturnsTheVersionOfTheBuild)
{
    const zta::host::Module module(ZTA_MODULE_PATH);
    const SZtVersionInfo version = module.VersionInfo();
    EXPECT_TRUE(std::all_of(std::begin(version.achRevision), std::end(version.achRevision),
                            [](char digit) { return std::strchr("0123456789abcdef", digit) != nullptr && digit; }));
    EXPECT_NE(version.achRelease[0], '\0');
}

TEST(HostModule, RegistersTheClassUnderAPathAndUnregistersIt)
{
    const TempDirectory directory;
    ASSERT_EQ(setenv("ORBUTILS", directory.Path().c_str(), 1), 0);
    zta::host::Module module(ZTA_MODULE_PATH);
    const auto text = [&directory] { return ReadTextFile(directory.File("CLSIDs")); };
    const std::string line = "{45F20097-F519-4DCF-80D8CC0D06CBF259}=/opt/engine.so";
    module.Register("/opt/engine.so");
    EXPECT_NE(text().find(line), std::string::npos) << text();
    module.Unregister();
    EXPECT_EQ(text().find(line), std::string::npos) << text();

    unsetenv("ORBUTILS");
    try {
        module.Register("/opt/engine.so");
        FAIL() << "registered nowhere";
    } catch (const zta::host::ModuleError& error) {
        EXPECT_EQ(error.Status(), E_FAIL);
    }
    EXPECT_THROW(module.Unregister(), zta::host::ModuleError);
}

TEST(HostModule, FindsExportedNamesOnly)
{
    const zta::host::Module module(ZTA_MODULE_PATH);
    EXPECT_NE(module.Symbol<void*>("DllRegisterServer"), nullptr);
    EXPECT_EQ(Message([&module] { (void)module.Symbol<void*>("NoSuchName"); }),
              std::string(ZTA_MODULE_PATH) + " does not export NoSuchName");
}

} // namespace
