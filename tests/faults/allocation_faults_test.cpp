// Failures of each allocation of the module: during creation, registration, and in status and texts.

#include "component/class_factory.h"
#include "component/hresult.h"
#include "host/host_engine.h"
#include "resampler/polyphase_resampler.h"
#include "resampler/resample_audio.h"
#include "signal/filter_spec.h"
#include "support/ini_file.h"
#include "testing/child_process.h"
#include "testing/engine_fixture.h"
#include "testing/scenarios.h"
#include "testing/temp_directory.h"
#include "tests/faults/failing_allocator.h"
#include "tests/faults/injections.h"

#include <zta/module.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>

namespace zta::test {
namespace {

/// The outcome of an injected failure: a status, or std::bad_alloc.
struct Outcome {
    int status = 0;
    bool thrown = false;
    bool injected = false;
    long balance = 0; ///< allocations less deallocations
};

class AllocationFaults : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!FailingAllocator::IsAvailable()) {
            GTEST_SKIP() << "the sanitizer replaces the allocator";
        }
    }

    /// Makes each allocation of `action` fail, once alone and once with all that follow. `check` receives each outcome,
    /// and in the end that of the action without a failure. Returns the number of injected failures.
    static int FailEach(const std::function<int()>& action, const std::function<void(const Outcome&)>& check)
    {
        int injections = 0;
        for (const bool persistent : {false, true}) {
            for (int n = 1; n < 5000; ++n) {
                Outcome outcome;
                {
                    FailingAllocator failing(n, persistent);
                    try {
                        outcome.status = action();
                    } catch (const std::bad_alloc&) {
                        outcome.thrown = true;
                    }
                    outcome.balance = FailingAllocator::Balance();
                    outcome.injected = FailingAllocator::Stop();
                }
                SCOPED_TRACE("allocation " + std::to_string(n) + (persistent ? " and after" : ""));
                check(outcome);
                if (!outcome.injected) {
                    break;
                }
                ++injections;
            }
        }
        allocationFailuresInjected += injections;
        std::printf("%d failures injected\n", injections);
        return injections;
    }
};

/// The value of outputs before a call.
int untouched = 0;

TEST_F(AllocationFaults, OfAClassObjectPassOnAsBadAlloc)
{
    const int objects = g_i32Objects;
    void* object = nullptr;
    const auto action = [&] {
        object = &untouched;
        const int status = DllGetClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &object);
        static_cast<IClassFactory*>(object)->Release();
        return status;
    };
    const int injections = FailEach(action, [&](const Outcome& outcome) {
        EXPECT_EQ(outcome.thrown, outcome.injected);
        EXPECT_EQ(object == &untouched, outcome.injected);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(g_i32Objects, objects);
        EXPECT_EQ(outcome.balance, 0);
    });
    EXPECT_EQ(injections, 2);
}

/// An object that derives from neither base class, with a block that may be missing.
class ObjectWithBlock : public INonDelegatingUnknown {
public:
    ObjectWithBlock() : block_(new (std::nothrow) char[100]) {}
    ObjectWithBlock(const ObjectWithBlock&) = delete;
    ObjectWithBlock& operator=(const ObjectWithBlock&) = delete;
    ~ObjectWithBlock() override { delete[] block_; }

    static INonDelegatingUnknown* Create(IUnknown* /*outer*/, int* status)
    {
        auto* object = new (std::nothrow) ObjectWithBlock;
        *status = object != nullptr && object->block_ == nullptr ? ZT_E_FAIL : 0;
        return object;
    }

    int NonDelegatingQueryInterface(const _GUID& /*riid*/, void** ppv) override
    {
        *ppv = this;
        return 0;
    }
    unsigned long NonDelegatingAddRef() override { return ++references_; }
    unsigned long NonDelegatingRelease() override
    {
        const unsigned long left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

private:
    char* block_;
    unsigned long references_ = 0;
};

TEST_F(AllocationFaults, OfAnObjectThatIsMadeButUselessLeaveNothing)
{
    const CZtFactoryTemplate entry = {L"class", &CLSID_ZtaAudioSamplesEngine, ObjectWithBlock::Create, nullptr,
                                      nullptr};
    auto* made = new CZtClassFactory(&entry);
    made->AddRef();
    const auto factory = host::Ref<IClassFactory>::Adopt(made);
    void* object = nullptr;
    const auto action = [&] {
        object = &untouched;
        return factory->CreateInstance(nullptr, IID_IUnknown, &object);
    };
    int useless = 0;
    const int injections = FailEach(action, [&](const Outcome& outcome) {
        EXPECT_FALSE(outcome.thrown);
        EXPECT_TRUE(outcome.status == 0 || outcome.status == E_OUTOFMEMORY || outcome.status == ZT_E_FAIL);
        EXPECT_EQ(outcome.status == 0, !outcome.injected);
        EXPECT_EQ(object == &untouched, outcome.injected);
        EXPECT_EQ(outcome.balance, 0);
        useless += outcome.status == ZT_E_FAIL ? 1 : 0;
    });
    EXPECT_EQ(useless, 2) << "the second of the two allocations, alone and with all that follow";
    EXPECT_EQ(injections, 4);
}

TEST_F(AllocationFaults, OfAnObjectOfTheClassAreReported)
{
    const auto factory = ModuleClassFactory();
    const int objects = g_i32Objects;
    void* object = nullptr;
    const auto action = [&] {
        object = &untouched;
        const int status = factory->CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &object);
        if (status >= 0) {
            static_cast<IZtaAudioSamplesEngineFactory*>(object)->Release();
        }
        return status;
    };
    const int injections = FailEach(action, [&](const Outcome& outcome) {
        EXPECT_FALSE(outcome.thrown);
        EXPECT_EQ(outcome.status, outcome.injected ? E_OUTOFMEMORY : 0);
        EXPECT_EQ(object == &untouched, outcome.injected);
        EXPECT_EQ(g_i32Objects, objects);
        EXPECT_EQ(outcome.balance, 0);
    });
    EXPECT_EQ(injections, 2);
}

TEST_F(AllocationFaults, OfAnEngineAndItsPoolAreReportedAndLeaveNothing)
{
    const auto hostEngine = host::HostEngine::Create();
    const auto factory = CreateEngineFactory();
    const int objects = g_i32Objects;
    const long buffers = host::AudioBuffer::LiveCount();
    IZtaAudioSamplesEngine* engine = nullptr;
    bool isMade = false;
    const auto action = [&] {
        engine = nullptr;
        const int status = factory->CreateAudioSamplesEngine(hostEngine.Get(), 0, &engine);
        isMade = engine != nullptr;
        if (isMade) {
            engine->Release(); // an incomplete engine is returned as well
        }
        return status;
    };
    int withoutEngine = 0;
    int withoutBlock = 0;
    const int injections = FailEach(action, [&](const Outcome& outcome) {
        EXPECT_FALSE(outcome.thrown);
        EXPECT_TRUE(outcome.status == 0 || (outcome.injected && outcome.status == E_OUTOFMEMORY)) << outcome.status;
        withoutEngine += isMade ? 0 : 1;
        withoutBlock += outcome.injected && outcome.status == 0 ? 1 : 0;
        EXPECT_EQ(g_i32Objects, objects);
        EXPECT_EQ(host::AudioBuffer::LiveCount(), buffers);
        EXPECT_EQ(outcome.balance, 0);
    });
    EXPECT_EQ(withoutEngine, 2) << "the engine itself is the first allocation";
    EXPECT_EQ(withoutBlock, 5) << "the failure is reported when a volume is applied";
    EXPECT_GE(injections, 2 * (1 + 5 + 131)) << "each buffer of the pool needs at least one";
}

TEST_F(AllocationFaults, OfAVolumeBlockAreReportedByTheOperationThatNeedsIt)
{
    const auto hostEngine = host::HostEngine::Create();
    const auto factory = CreateEngineFactory();
    constexpr int kFirstBlock = 2;
    constexpr int kBlocks = 5;
    std::vector<std::string> affected;
    for (int n = kFirstBlock; n < kFirstBlock + kBlocks; ++n) {
        host::Ref<IZtaAudioSamplesEngine> engine;
        {
            FailingAllocator failing(n, false);
            ASSERT_EQ(factory->CreateAudioSamplesEngine(hostEngine.Get(), 0, engine.Put()), 0);
            ASSERT_TRUE(FailingAllocator::Stop());
        }
        ++allocationFailuresInjected;
        for (const ScenarioCase& test : Scenarios()) {
            if (test.leaksReference) {
                continue;
            }
            const Scenario scenario = test.Make();
            const int status = RunAnnounced(scenario, *engine);
            if (status != test.status) {
                EXPECT_EQ(status, E_OUTOFMEMORY) << test.name;
                EXPECT_EQ(scenario.outputs[0]->ErrorCode(), E_OUTOFMEMORY) << test.name;
                affected.push_back(test.name);
            }
            EXPECT_TRUE(IsSignaled(scenario)) << test.name;
        }
    }
    std::vector<std::string> expected;
    for (const ScenarioCase& test : Scenarios()) {
        if (test.status == 0 && (test.operation == "Volume" || test.name.find("Scaled") != std::string::npos)) {
            expected.push_back(test.name);
        }
    }
    std::sort(expected.begin(), expected.end());
    std::sort(affected.begin(), affected.end());
    EXPECT_GE(affected.size(), 10U);
    EXPECT_EQ(affected, expected) << "each of them without its own block, and only then";
}

TEST_F(AllocationFaults, OfAStreamAreReportedAndTheNextStreamIsExact)
{
    const auto hostEngine = host::HostEngine::Create();
    const auto engine = CreateEngine(*hostEngine);
    SZtaWaveFormatInfo from = host::Pcm16(2, 44100);
    SZtaWaveFormatInfo to = host::Pcm16(2, 48000);
    const auto resampled = [&] {
        host::Ref<IUnknown> stream;
        EXPECT_EQ(engine->CreateAudioResampler(&from, &to, stream.Put()), 0);
        const auto input = host::AudioBuffer::Create(from, 4000);
        const auto output = host::AudioBuffer::Create(to, 4800);
        for (std::size_t i = 0; i < input->Capacity(); ++i) {
            input->Data()[i] = static_cast<std::byte>(i * i % 251);
        }
        input->SetValidLength(input->Capacity());
        input->AnnounceRead();
        output->AnnounceWrite();
        EXPECT_EQ(engine->ProcessAudioResampler(input.Get(), output.Get(), keZtAudioResamplerModeRestart, stream.Get()),
                  0);
        return std::vector<std::byte>(output->Data(), output->Data() + output->Length());
    };
    const std::vector<std::byte> expected = resampled();
    int objects = g_i32Objects;
    void* stream = nullptr;
    const auto action = [&] {
        auto* made = static_cast<IUnknown*>(nullptr);
        const int status = engine->CreateAudioResampler(&from, &to, &made);
        stream = made;
        if (made != nullptr) {
            made->Release();
        }
        return status;
    };
    int thrown = 0;
    const int injections = FailEach(action, [&](const Outcome& outcome) {
        thrown += outcome.thrown ? 1 : 0;
        if (outcome.injected && !outcome.thrown) {
            // A stream that could not be created stays counted as a live object.
            EXPECT_EQ(outcome.status, ZT_E_INCONSISTENCY_DETECTED);
            EXPECT_EQ(stream, nullptr);
            ++objects;
        } else {
            EXPECT_EQ(outcome.status, 0);
            EXPECT_EQ(outcome.balance, 0);
        }
        EXPECT_EQ(g_i32Objects, objects);
        EXPECT_EQ(resampled(), expected);
    });
    EXPECT_EQ(thrown, 2) << "the object itself; its buffers and its filter are reported";
    EXPECT_EQ(injections, 8);
}

TEST_F(AllocationFaults, OfAStatusThatAllowsErrorsLeaveNothing)
{
    const auto action = [] {
        CZtHResult allowing(ZT_E_FAIL, 3, ZT_E_FAIL, ZT_E_MODULE_BUSY, E_FAIL);
        const CZtHResult copy(allowing);
        CZtHResult assigned(0);
        assigned = copy;
        assigned = allowing;
        return static_cast<int&>(assigned);
    };
    const int injections = FailEach(action, [&](const Outcome& outcome) {
        EXPECT_EQ(outcome.thrown, outcome.injected);
        EXPECT_TRUE(outcome.injected || outcome.status == ZT_E_FAIL);
        EXPECT_EQ(outcome.balance, 0);
    });
    EXPECT_GE(injections, 2 * 4 * 4);
}

constexpr const char* kRegistered =
    " [CLSID]\n {45F20097-F519-4DCF-80D8CC0D06CBF259}=/opt/media/libZtaAudioSamplesEngine.so\n";

/// Registration reads the environment and writes to standard output, so each call is made in a child process.
class RegistrationFaults : public AllocationFaults {
protected:
    static constexpr int kThrown = 77;
    static constexpr int kNothingInjected = 1 << 16;

    /// One call with allocation `n` failing: its status or kThrown, with kNothingInjected if there were fewer.
    int CallInChild(const std::function<int()>& call, int n, bool persistent)
    {
        const ChildResult result = RunInChild([&] {
            ::setenv("ORBUTILS", directory_.Path().c_str(), 1);
            // The C library corrupts its heap if it cannot allocate the buffer of a wide-character stream.
            static char output[4096];
            std::setvbuf(stdout, output, _IOFBF, sizeof(output));
            int status = 0;
            FailingAllocator failing(n, persistent);
            try {
                status = call();
            } catch (const std::bad_alloc&) {
                status = kThrown;
            }
            return status | (FailingAllocator::Stop() ? 0 : kNothingInjected);
        });
        return result.status;
    }

    /// `before` is the content of the file, "" for no file; a call without a failure must change it to `after`.
    void FailEachOf(const std::function<int()>& call, const std::string& before, const std::string& after)
    {
        int injections = 0;
        for (const bool persistent : {false, true}) {
            for (int n = 1; n < 2000; ++n) {
                SCOPED_TRACE("allocation " + std::to_string(n) + (persistent ? " and after" : ""));
                std::filesystem::remove(file_);
                if (!before.empty()) {
                    WriteTextFile(file_, before);
                }
                const int status = CallInChild(call, n, persistent);
                const bool injected = (status & kNothingInjected) == 0;
                EXPECT_TRUE(status == 0 || status == kThrown || status == kNothingInjected) << status;
                if (injected) {
                    ++injections;
                    // The file keeps what it had, or has the change, or the header for it; nothing else of it is lost.
                    const std::string text = std::filesystem::exists(file_) ? ReadTextFile(file_) : "";
                    EXPECT_TRUE(text == before || text == after || text == before + " [CLSID]\n") << text;
                }
                EXPECT_EQ(CallInChild(call, 0, false), kNothingInjected);
                EXPECT_EQ(ReadTextFile(file_), after);
                if (!injected || HasFailure()) {
                    break;
                }
            }
        }
        allocationFailuresInjected += injections;
        std::printf("%d failures injected\n", injections);
        EXPECT_GE(injections, 10);
    }

    TempDirectory directory_;
    std::string file_ = directory_.File("CLSIDs");
};

int Register()
{
    return DllRegisterServer(L"/opt/media/libZtaAudioSamplesEngine.so");
}

TEST_F(RegistrationFaults, AFreshRegistrationLivesThroughAnyOfThem)
{
    FailEachOf(Register, "", kRegistered);
}

TEST_F(RegistrationFaults, ARegistrationAmongOthersLosesNoneOfThem)
{
    const std::string others = " {01020304-0506-0708-090A0B0C0D0E0F10}=/opt/other/libAnotherModule.so\n"
                               "# a comment that belongs to the section below\n [Other]\n key=value\n";
    FailEachOf(Register, " [CLSID]\n" + others, kRegistered + others);
}

TEST_F(RegistrationFaults, AnUnregistrationLosesNoOtherLine)
{
    const std::string others = " {01020304-0506-0708-090A0B0C0D0E0F10}=/opt/other/libAnotherModule.so\n";
    FailEachOf(DllUnregisterServer, kRegistered + others, " [CLSID]\n" + others);
}

TEST_F(RegistrationFaults, APathThatTheLocaleCannotExpressLosesNoLine)
{
    const std::string text = " [CLSID]\n {01020304-0506-0708-090A0B0C0D0E0F10}=/opt/other/libAnotherModule.so\n";
    FailEachOf([] { return DllRegisterServer(L"/opt/m\u00e9dia/libZtaAudioSamplesEngine.so"); }, text, text);
}

TEST_F(RegistrationFaults, AFileThatTheLocaleCannotReadLosesNoLine)
{
    const std::string text = std::string(kRegistered) +
                             " {01020304-0506-0708-090A0B0C0D0E0F10}=/opt/m\xC3\xA9/libAnotherModule.so\n"
                             " [Other]\n key=value\n";
    FailEachOf([] { return DllRegisterServer(L"/elsewhere.so"); }, text, text);
    FailEachOf(DllUnregisterServer, text, text);
}

} // namespace
} // namespace zta::test
