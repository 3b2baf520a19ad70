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

TEST(HostFormats, HaveTheFieldsThatTheEngineComparesAFrameSizeAndAReadableName)
{
    using namespace zta::host;
    constexpr auto kPcm = keZtAudioDataTypePcm;
    constexpr auto kOther = static_cast<EZtAudioDataType>(9);
    const struct {
        SZtaWaveFormatInfo format;
        SZtaWaveFormatInfo fields;
        std::size_t frameBytes;
        const char* name;
    } cases[] = {
        {Pcm16(1), {24, 1, kPcm, 48000, 16, 16}, 2, "16-in-16 mono, 48000 Hz"},
        {Pcm16(2, 44100), {24, 2, kPcm, 44100, 16, 16}, 4, "16-in-16 stereo, 44100 Hz"},
        {Pcm20In32(1), {24, 1, kPcm, 48000, 32, 20}, 4, "20-in-32 mono, 48000 Hz"},
        {Pcm24In32(1), {24, 1, kPcm, 48000, 32, 24}, 4, "24-in-32 mono, 48000 Hz"},
        {Pcm24In32(64), {24, 64, kPcm, 48000, 32, 24}, 256, "24-in-32 64 channels, 48000 Hz"},
        {Pcm24In24(2), {24, 2, kPcm, 48000, 24, 24}, 6, "24-in-24 stereo, 48000 Hz"},
        {Float32(2), {24, 2, keZtAudioDataTypeFloat, 48000, 32, 32}, 8, "float 32 stereo, 48000 Hz"},
        {Float32(8), {24, 8, keZtAudioDataTypeFloat, 48000, 32, 32}, 32, "float 32 8 channels, 48000 Hz"},
        {Multi16(1), {24, 1, keZtAudioDataTypeMultiFormat, 48000, 32, 16}, 4, "multi-format 16-in-32 mono, 48000 Hz"},
        {Multi24(4),
         {24, 4, keZtAudioDataTypeMultiFormat, 48000, 32, 24},
         16,
         "multi-format 24-in-32 4 channels, 48000 Hz"},
        {Opaque(1), {24, 1, keZtAudioDataTypeOpaque, 48000, 32, 32}, 4, "opaque 32-in-32 mono, 48000 Hz"},
        {Opaque(2, 32, 20, 96000),
         {24, 2, keZtAudioDataTypeOpaque, 96000, 32, 20},
         8,
         "opaque 20-in-32 stereo, 96000 Hz"},
        {{24, 1, kOther, 8000, 8, 8}, {24, 1, kOther, 8000, 8, 8}, 1, "type 9 8-in-8 mono, 8000 Hz"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(std::memcmp(&c.format, &c.fields, 24), 0) << c.name;
        EXPECT_EQ(BytesPerFrame(c.format), c.frameBytes) << c.name;
        EXPECT_EQ(FormatName(c.format), c.name);
    }
    EXPECT_EQ(BytesPerFrame(SZtaWaveFormatInfo{}), 0U);
}

class HostAudioBuffer : public testing::Test {
protected:
    const Ref<AudioBuffer> buffer_ = AudioBuffer::Create(zta::host::Pcm16(2), 16);
};

TEST_F(HostAudioBuffer, StartsZeroedAlignedAndEmpty)
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

TEST_F(HostAudioBuffer, RejectsACapacityBeyondMemory)
{
    const long before = AudioBuffer::LiveCount();
    EXPECT_THROW((void)AudioBuffer::Create(zta::host::Pcm16(2), SIZE_MAX), std::bad_alloc);
    EXPECT_EQ(AudioBuffer::LiveCount(), before);
}

TEST_F(HostAudioBuffer, CountsReferencesAndLiveBuffers)
{
    const long before = AudioBuffer::LiveCount();
    auto buffer = AudioBuffer::Create(zta::host::Pcm16(2), 16);
    EXPECT_EQ(AudioBuffer::LiveCount(), before + 1);
    EXPECT_EQ(buffer->AddRef(), 2U);
    EXPECT_EQ(buffer->Release(), 1U);
    buffer.Reset();
    EXPECT_EQ(AudioBuffer::LiveCount(), before);
}

TEST_F(HostAudioBuffer, SupportsItsThreeInterfacesAndNoOther)
{
    for (const _GUID& id : {IID_IUnknown, IID_IZtAVContent, IID_IZtAudioSamples}) {
        void* object = nullptr;
        ASSERT_EQ(buffer_->QueryInterface(id, &object), 0);
        ASSERT_EQ(object, static_cast<IZtAudioSamples*>(buffer_.Get()));
        EXPECT_EQ(static_cast<IUnknown*>(object)->Release(), 1U);
    }
    void* object = buffer_.Get();
    EXPECT_EQ(buffer_->QueryInterface(IID_IZtQuonEnginePrivate, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(buffer_->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(HostAudioBuffer, AcceptsOneSignalForEachAnnouncement)
{
    buffer_->AnnounceRead();
    buffer_->AnnounceRead();
    buffer_->AnnounceWrite();
    EXPECT_EQ(buffer_->ReadCount(), 2);
    EXPECT_EQ(buffer_->WriteCount(), 1);
    EXPECT_EQ(buffer_->SignalReadCompletion(), 0);
    EXPECT_EQ(buffer_->SignalReadCompletion(), 0);
    EXPECT_EQ(buffer_->WriteCount(), 1);
    EXPECT_EQ(buffer_->SignalWriteCompletion(), 0);
    EXPECT_EQ(buffer_->ReadCount(), 0);
    EXPECT_EQ(buffer_->WriteCount(), 0);
    EXPECT_EQ(buffer_->PairingViolations(), 0);
}

TEST_F(HostAudioBuffer, RejectsAndCountsASignalWithoutAnnouncement)
{
    buffer_->AnnounceWrite();
    EXPECT_EQ(buffer_->SignalReadCompletion(), ZT_E_READ_COUNT_NOT_INCREMENTED);
    EXPECT_EQ(buffer_->WriteCount(), 1);
    EXPECT_EQ(buffer_->SignalWriteCompletion(), 0);
    EXPECT_EQ(buffer_->SignalWriteCompletion(), ZT_E_WRITE_COUNT_NOT_INCREMENTED);
    EXPECT_EQ(buffer_->ReadCount(), 0);
    EXPECT_EQ(buffer_->WriteCount(), 0);
    EXPECT_EQ(buffer_->PairingViolations(), 2);
}

TEST_F(HostAudioBuffer, WaitReturnsImmediatelyIfNoAccessIsOpen)
{
    EXPECT_TRUE(buffer_->WaitForCompletion(0ns));
    EXPECT_TRUE(buffer_->WaitForCompletion(std::chrono::hours(1)));
}

TEST_F(HostAudioBuffer, WaitEndsAfterItsTimeout)
{
    buffer_->AnnounceRead();
    EXPECT_FALSE(buffer_->WaitForCompletion(0ns));
    EXPECT_FALSE(buffer_->WaitForCompletion(-1ns));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(buffer_->WaitForCompletion(20ms));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

TEST_F(HostAudioBuffer, WaitLastsUntilTheLastOpenAccessHasEnded)
{
    // Repeated, so that the signals arrive before, while and after the waiter blocks.
    for (int round = 0; round < 2000; ++round) {
        buffer_->AnnounceRead();
        buffer_->AnnounceWrite();
        std::thread engine([this] {
            buffer_->SignalReadCompletion();
            buffer_->SignalWriteCompletion();
        });
        const auto start = std::chrono::steady_clock::now();
        const bool ended = buffer_->WaitForCompletion(10s);
        const auto waited = std::chrono::steady_clock::now() - start;
        const int open = buffer_->ReadCount() + buffer_->WriteCount();
        engine.join();
        ASSERT_TRUE(ended);
        ASSERT_EQ(open, 0);
        ASSERT_LT(waited, 5s) << "the waiter slept until its timeout";
    }
}

TEST_F(HostAudioBuffer, WaitWakesEveryWaiter)
{
    buffer_->AnnounceWrite();
    int woken[3] = {};
    std::thread waiters[3];
    for (int i = 0; i < 3; ++i) {
        waiters[i] = std::thread([this, &woken, i] { woken[i] = buffer_->WaitForCompletion(10s); });
    }
    const auto start = std::chrono::steady_clock::now();
    buffer_->SignalWriteCompletion();
    for (auto& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(woken[0] + woken[1] + woken[2], 3);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s) << "a waiter slept until its timeout";
}

TEST_F(HostAudioBuffer, ReportsItsDescriptionAsSet)
{
    SZtaWaveFormatInfo format = zta::host::Pcm24In32(1, 44100);
    EXPECT_EQ(buffer_->SetWaveFormat(&format), 0);
    EXPECT_EQ(buffer_->SetPolarity(7), 0);
    EXPECT_EQ(buffer_->SetFadeIn(true), 0);

    SZtAudioSamplesDescription description{};
    description.ulSize = 40;
    ASSERT_EQ(buffer_->GetAudioSamplesDescription(&description), 0);
    EXPECT_EQ(description.ulSize, 40U);
    EXPECT_EQ(description.ePolarity, 7U);
    EXPECT_TRUE(description.bFadeIn);
    EXPECT_FALSE(description.bFadeOut);
    EXPECT_EQ(std::memcmp(&description.sWaveFormat, &format, sizeof(format)), 0);

    EXPECT_EQ(buffer_->SetFadeOut(true), 0);
    EXPECT_EQ(buffer_->SetFadeIn(false), 0);
    EXPECT_FALSE(buffer_->Description().bFadeIn);
    EXPECT_TRUE(buffer_->Description().bFadeOut);
    EXPECT_EQ(buffer_->Polarity(), 7U);
    buffer_->SetFades(true, false);
    EXPECT_TRUE(buffer_->Description().bFadeIn);
    EXPECT_FALSE(buffer_->Description().bFadeOut);
    buffer_->SetFormat(zta::host::Float32(2));
    EXPECT_EQ(buffer_->Description().sWaveFormat.eDataType, keZtAudioDataTypeFloat);
}

TEST_F(HostAudioBuffer, ReturnsItsDataLengthAndCapacity)
{
    EXPECT_EQ(buffer_->SetLength(11), 0);
    void* data = nullptr;
    unsigned long value = 0;
    EXPECT_EQ(buffer_->GetBufferAndLength(&data, &value), 0);
    EXPECT_EQ(data, buffer_->Data());
    EXPECT_EQ(value, 11U);
    EXPECT_EQ(buffer_->GetBufferCapacity(&value), 0);
    EXPECT_EQ(value, 16U);
    EXPECT_EQ(buffer_->GetLengthInSampleFrames(&value), 0);
    EXPECT_EQ(value, 2U);
    buffer_->SetFormat({});
    EXPECT_EQ(buffer_->GetLengthInSampleFrames(&value), 0);
    EXPECT_EQ(value, 0U);
}

TEST_F(HostAudioBuffer, KeepsItsLengthWithinItsCapacity)
{
    EXPECT_EQ(buffer_->SetLength(16), 0);
    EXPECT_EQ(buffer_->SetLength(17), ZT_E_INVALID_PARAMETER);
    EXPECT_EQ(buffer_->Length(), 16U);
    EXPECT_THROW(buffer_->SetValidLength(17), std::length_error);
    buffer_->SetValidLength(3);
    EXPECT_EQ(buffer_->Length(), 3U);
}

TEST_F(HostAudioBuffer, RejectsNullPointersAndRecordsWithoutSize)
{
    void* data = nullptr;
    unsigned long value = 0;
    EXPECT_EQ(buffer_->GetErrorCode(nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer_->SetWaveFormat(nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer_->GetAudioSamplesDescription(nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer_->GetBufferAndLength(nullptr, &value), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer_->GetBufferAndLength(&data, nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer_->GetBufferCapacity(nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(buffer_->GetLengthInSampleFrames(nullptr), ZT_E_INVALID_POINTER);
    SZtAudioSamplesDescription description{};
    EXPECT_EQ(buffer_->GetAudioSamplesDescription(&description), ZT_E_INVALID_PARAMETER);
}

TEST_F(HostAudioBuffer, KeepsTheErrorCodeUntilItIsCleared)
{
    EXPECT_EQ(buffer_->SetErrorCode(ZT_E_MODULE_BUSY), 0);
    int code = 0;
    EXPECT_EQ(buffer_->GetErrorCode(&code), 0);
    EXPECT_EQ(code, ZT_E_MODULE_BUSY);
    EXPECT_EQ(buffer_->ErrorCode(), ZT_E_MODULE_BUSY);
    buffer_->ClearErrorCode();
    EXPECT_EQ(buffer_->ErrorCode(), 0);
}

TEST_F(HostAudioBuffer, CountsMarksAndKeepsTheTimeOfTheLast)
{
    const auto before = AudioBuffer::Clock::now();
    buffer_->MarkWriteStartTime();
    buffer_->MarkWriteStartTime();
    buffer_->MarkWriteStopTime();
    const auto after = AudioBuffer::Clock::now();
    EXPECT_EQ(buffer_->WriteStartMarks(), 2);
    EXPECT_EQ(buffer_->WriteStopMarks(), 1);
    EXPECT_LE(before, buffer_->LastWriteStart());
    EXPECT_LE(buffer_->LastWriteStart(), buffer_->LastWriteStop());
    EXPECT_LE(buffer_->LastWriteStop(), after);
}

TEST_F(HostAudioBuffer, LetsADerivedHostOverrideAnyOperation)
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

class HostEngineObject : public testing::Test {
protected:
    const Ref<HostEngine> host_ = HostEngine::Create();
};

TEST_F(HostEngineObject, CreatesTheRequestedBufferAndDoesNotChangeTheRequest)
{
    SZtCreateAudioSamplesDescription request{};
    request.ulSize = 56;
    request.ui64BufferSize = 192000;
    request.ePolarity = 3;
    request.ulHostAttribute = 1;
    request.bFadeOut = true;
    request.sWaveFormat = zta::host::Pcm24In32(2);
    const SZtCreateAudioSamplesDescription before = request;

    Ref<IZtAudioSamples> samples;
    ASSERT_EQ(host_->CreateAudioSamples(&request, samples.Put()), 0);
    EXPECT_EQ(std::memcmp(&before, &request, sizeof(request)), 0);
    auto* buffer = static_cast<AudioBuffer*>(samples.Get());
    EXPECT_EQ(buffer->Capacity(), 192000U);
    const SZtAudioSamplesDescription description = buffer->Description();
    EXPECT_EQ(description.ePolarity, 3U);
    EXPECT_EQ(description.ulHostAttribute, 1U);
    EXPECT_FALSE(description.bFadeIn);
    EXPECT_TRUE(description.bFadeOut);
    EXPECT_EQ(std::memcmp(&description.sWaveFormat, &request.sWaveFormat, 24), 0);
}

TEST_F(HostEngineObject, RejectsInvalidRequests)
{
    SZtCreateAudioSamplesDescription request{};
    IZtAudioSamples* samples = nullptr;
    EXPECT_EQ(host_->CreateAudioSamples(nullptr, &samples), ZT_E_INVALID_POINTER);
    EXPECT_EQ(host_->CreateAudioSamples(&request, nullptr), ZT_E_INVALID_POINTER);
    EXPECT_EQ(host_->CreateAudioSamples(&request, &samples), ZT_E_INVALID_PARAMETER);
    request.ulSize = 56;
    request.ui64BufferSize = UINT64_MAX;
    EXPECT_EQ(host_->CreateAudioSamples(&request, &samples), E_OUTOFMEMORY);
    EXPECT_EQ(samples, nullptr);
}

TEST_F(HostEngineObject, SupportsItsTwoInterfacesAndNoOther)
{
    for (const _GUID& id : {IID_IUnknown, IID_IZtQuonEnginePrivate}) {
        void* object = nullptr;
        ASSERT_EQ(host_->QueryInterface(id, &object), 0);
        EXPECT_EQ(static_cast<IUnknown*>(object)->Release(), 1U);
    }
    void* object = host_.Get();
    EXPECT_EQ(host_->QueryInterface(IID_IZtAudioSamples, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(host_->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

class HostModule : public testing::Test {
protected:
    zta::host::Module module_{ZTA_MODULE_PATH};
};

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

TEST_F(HostModule, NamesTheFileThatItCannotLoad)
{
    const std::string message = Message([] { zta::host::Module module("/nowhere/engine.so"); });
    EXPECT_NE(message.find("cannot load /nowhere/engine.so: "), std::string::npos) << message;
    EXPECT_EQ(message.find('\n'), std::string::npos);
}

TEST_F(HostModule, RejectsALibraryThatIsNotAModule)
{
    EXPECT_EQ(Message([] { zta::host::Module module("libm.so.6"); }), "libm.so.6 does not export DllEntryPoint");
}

TEST_F(HostModule, IsInUseWhileAnEngineExists)
{
    const auto host = HostEngine::Create();
    const long before = AudioBuffer::LiveCount();
    EXPECT_TRUE(module_.CanUnload());
    auto engine = module_.CreateEngine(*host.Get());
    ASSERT_TRUE(engine);
    EXPECT_EQ(AudioBuffer::LiveCount(), before + 131);
    EXPECT_FALSE(module_.CanUnload());
    EXPECT_THROW(module_.Unload(), std::logic_error);
    engine.Reset();
    EXPECT_EQ(AudioBuffer::LiveCount(), before);
    EXPECT_TRUE(module_.CanUnload());
    module_.Unload();
    EXPECT_THROW(module_.Unload(), std::logic_error);
    EXPECT_THROW((void)module_.CanUnload(), std::logic_error);
}

TEST_F(HostModule, ReturnsTheHostsFailureAndLeaksNothing)
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
    const auto host = Ref<FailingHost>::Adopt(new FailingHost());
    const long before = AudioBuffer::LiveCount();
    try {
        (void)module_.CreateEngine(*host.Get());
        FAIL() << "the engine was created without its pool";
    } catch (const zta::host::ModuleError& error) {
        EXPECT_EQ(error.Status(), ZT_E_NOT_IMPLEMENTED);
        EXPECT_NE(std::string(error.what()).find("0x89998003 (ZT_E_NOT_IMPLEMENTED: "), std::string::npos)
            << error.what();
    }
    EXPECT_EQ(AudioBuffer::LiveCount(), before);
    EXPECT_TRUE(module_.CanUnload());
}

TEST_F(HostModule, ReturnsTheTextOfAStatus)
{
    EXPECT_EQ(module_.ErrorText(ZT_E_MODULE_BUSY),
              "ZT_E_MODULE_BUSY: The module is still processing the last requested operation.");
    EXPECT_EQ(module_.ErrorText(2), "Unknown error");
}

TEST_F(HostModule, ReturnsTheVersionOfTheBuild)
{
    const SZtVersionInfo version = module_.VersionInfo();
    EXPECT_TRUE(std::all_of(std::begin(version.achRevision), std::end(version.achRevision),
                            [](char digit) { return std::strchr("0123456789abcdef", digit) != nullptr && digit; }));
    EXPECT_NE(version.achRelease[0], '\0');
}

TEST_F(HostModule, RegistersTheClassUnderAPathAndUnregistersIt)
{
    const TempDirectory directory;
    ASSERT_EQ(setenv("ORBUTILS", directory.Path().c_str(), 1), 0);
    const auto text = [&directory] { return ReadTextFile(directory.File("CLSIDs")); };
    const std::string line = "{45F20097-F519-4DCF-80D8CC0D06CBF259}=/opt/engine.so";
    module_.Register("/opt/engine.so");
    EXPECT_NE(text().find(line), std::string::npos) << text();
    module_.Unregister();
    EXPECT_EQ(text().find(line), std::string::npos) << text();

    unsetenv("ORBUTILS");
    try {
        module_.Register("/opt/engine.so");
        FAIL() << "registered nowhere";
    } catch (const zta::host::ModuleError& error) {
        EXPECT_EQ(error.Status(), E_FAIL);
    }
    EXPECT_THROW(module_.Unregister(), zta::host::ModuleError);
}

TEST_F(HostModule, FindsExportedNamesOnly)
{
    EXPECT_NE(module_.Symbol<void*>("DllRegisterServer"), nullptr);
    EXPECT_EQ(Message([this] { (void)module_.Symbol<void*>("NoSuchName"); }),
              std::string(ZTA_MODULE_PATH) + " does not export NoSuchName");
}

} // namespace
