#include "component/class_factory.h"
#include "component/unknown.h"
#include "engine/engine_factory.h"
#include "testing/engine_fixture.h"

#include <zta/module.h>

namespace zta::test {
namespace {

class EngineCreation : public ::testing::Test {
protected:
    CallLog callLog_;
    RecordingHost host_{callLog_};
};

TEST_F(EngineCreation, RequestsThePoolFromTheHostInOrderWithOneRecord)
{
    auto engine = CreateEngine(host_);

    ASSERT_EQ(host_.CreationCount(), 131);
    for (const SZtCreateAudioSamplesDescription& record : host_.CreationRequests()) {
        EXPECT_EQ(record.ulSize, 56U);
        EXPECT_EQ(record.ui64BufferSize, 192000U);
        EXPECT_EQ(record.ePolarity, 0U);
        EXPECT_EQ(record.ulHostAttribute, 1U);
        EXPECT_FALSE(record.bFadeIn);
        EXPECT_FALSE(record.bFadeOut);
        const SZtaWaveFormatInfo expected = {24, 2, keZtAudioDataTypePcm, 48000, 32, 32};
        EXPECT_EQ(std::memcmp(&record.sWaveFormat, &expected, sizeof(expected)), 0);
    }
    EXPECT_TRUE(SZtLayoutProbe::PoolIs(static_cast<CZtaAudioSamplesEngine&>(*engine), host_.Buffers()))
        << "three scratch buffers, then alternately one for a fade and one for a conversion";
}

TEST_F(EngineCreation, ReleasesThePoolWithTheLastReference)
{
    const int objectsBefore = g_i32Objects;
    const long buffersBefore = host::AudioBuffer::LiveCount();
    auto engine = CreateEngine(host_);
    EXPECT_EQ(host::AudioBuffer::LiveCount(), buffersBefore + 131);
    EXPECT_EQ(g_i32Objects, objectsBefore + 1);

    EXPECT_EQ(engine.Detach()->Release(), 0U) << "creation adds no reference to the caller's";

    EXPECT_EQ(host::AudioBuffer::LiveCount(), buffersBefore);
    EXPECT_EQ(g_i32Objects, objectsBefore);
}

TEST_F(EngineCreation, FailingAtAnyRequestStillReturnsAnEngineWithTheBuffersCreatedSoFar)
{
    const int objectsBefore = g_i32Objects;
    const long buffersBefore = host::AudioBuffer::LiveCount();
    for (int n = 1; n <= 131; ++n) {
        SCOPED_TRACE(n);
        RecordingHost host(callLog_);
        host.FailRequest(n);
        int status = 0;
        auto engine = CreateEngine(host, &status);

        EXPECT_EQ(status, kInjectedFailure);
        ASSERT_TRUE(engine);
        EXPECT_EQ(host.CreationCount(), n) << "the first failure ends the creation";
        EXPECT_EQ(host::AudioBuffer::LiveCount(), buffersBefore + n - 1) << "the created buffers stay";
        EXPECT_TRUE(SZtLayoutProbe::PoolIs(static_cast<CZtaAudioSamplesEngine&>(*engine), host.Buffers()));

        engine.Reset();
        EXPECT_EQ(host::AudioBuffer::LiveCount(), buffersBefore);
        EXPECT_EQ(g_i32Objects, objectsBefore);
    }
}

TEST_F(EngineCreation, IgnoresTheReservedArgument)
{
    IZtaAudioSamplesEngine* engine = nullptr;
    EXPECT_EQ(CreateEngineFactory()->CreateAudioSamplesEngine(&host_, ~0UL, &engine), 0);
    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->AddRef(), 2U) << "the engine starts with the caller's one reference";
    EXPECT_EQ(engine->Release(), 1U);
    EXPECT_EQ(engine->Release(), 0U);
}

TEST_F(EngineCreation, KeepsNoReferenceOnTheHostAndNeverCallsItAgain)
{
    class CountingHost : public RecordingHost {
    public:
        using RecordingHost::RecordingHost;
        unsigned long AddRef() override { return ++calls; }
        unsigned long Release() override { return ++calls; }
        int QueryInterface(const _GUID& riid, void** ppv) override
        {
            ++calls;
            return RecordingHost::QueryInterface(riid, ppv);
        }
        unsigned long calls = 0;
    };
    CountingHost host(callLog_);
    auto engine = CreateEngine(host);
    auto source = RecordingBuffer::Create(callLog_, "source", host::Pcm16(1), 64);
    auto destination = RecordingBuffer::Create(callLog_, "destination", host::Pcm24In32(1), 128);
    EXPECT_EQ(engine->CopyAudioSamples(source.Get(), destination.Get()), 0);
    engine.Reset();
    EXPECT_EQ(host.calls, 0U);
    EXPECT_EQ(host.CreationCount(), 131);
}

TEST_F(EngineCreation, MakesAnEngineWithItsInterfaceAndIUnknownOnly)
{
    auto engine = CreateEngine(host_);
    const _GUID copy = IID_IZtaAudioSamplesEngine; // the same identifier at another address
    void* pv = nullptr;
    ASSERT_EQ(engine->QueryInterface(copy, &pv), 0);
    EXPECT_EQ(pv, static_cast<void*>(engine.Get()));
    engine->Release();

    ASSERT_EQ(engine->QueryInterface(IID_IUnknown, &pv), 0);
    auto unknown = host::Ref<IUnknown>::Adopt(static_cast<IUnknown*>(pv));
    ASSERT_EQ(unknown->QueryInterface(IID_IZtaAudioSamplesEngine, &pv), 0);
    EXPECT_EQ(pv, static_cast<void*>(engine.Get())) << "IUnknown leads back to the interface";
    EXPECT_EQ(static_cast<IUnknown*>(pv)->Release(), 2U);

    EXPECT_EQ(engine->QueryInterface(IID_IZtaAudioSamplesEngineFactory, &pv), E_NOINTERFACE);
    EXPECT_EQ(pv, nullptr);
}

TEST(EngineFactory, IsCreatedByTheModulesClassFactoryAndReleasesIt)
{
    const int objectsBefore = g_i32Objects;
    auto classFactory = ModuleClassFactory();
    void* pv = nullptr;
    ASSERT_EQ(classFactory->CreateInstance(nullptr, IID_IZtaAudioSamplesEngineFactory, &pv), 0);
    auto factory = host::Ref<IZtaAudioSamplesEngineFactory>::Adopt(static_cast<IZtaAudioSamplesEngineFactory*>(pv));
    EXPECT_EQ(g_i32Objects, objectsBefore + 2);

    EXPECT_EQ(factory->QueryInterface(IID_IZtaAudioSamplesEngine, &pv), E_NOINTERFACE);
    EXPECT_EQ(pv, nullptr);
    EXPECT_EQ(classFactory->CreateInstance(nullptr, IID_IZtaAudioSamplesEngine, &pv), E_NOINTERFACE)
        << "the engine itself has no class";

    factory.Reset();
    classFactory.Reset();
    EXPECT_EQ(g_i32Objects, objectsBefore);
}

/// An object that aggregates the engine factory.
class Outer : public IUnknown {
public:
    virtual ~Outer() = default;
    int QueryInterface(const _GUID& /*riid*/, void** ppv) override
    {
        *ppv = this;
        return 0;
    }
    unsigned long AddRef() override { return ++references; }
    unsigned long Release() override { return --references; }

    unsigned long references = 0;
};

TEST(EngineFactory, AggregatedForwardsToTheOuterObject)
{
    Outer outer;
    auto classFactory = ModuleClassFactory();
    void* pv = nullptr;
    EXPECT_EQ(classFactory->CreateInstance(&outer, IID_IZtaAudioSamplesEngineFactory, &pv), E_NOINTERFACE)
        << "an outer object must query IUnknown";
    ASSERT_EQ(classFactory->CreateInstance(&outer, IID_IUnknown, &pv), 0);
    auto* inner = static_cast<INonDelegatingUnknown*>(pv);

    ASSERT_EQ(inner->NonDelegatingQueryInterface(IID_IZtaAudioSamplesEngineFactory, &pv), 0);
    EXPECT_EQ(outer.references, 1U) << "the inner object's interfaces use the reference count of the outer one";
    auto* factory = static_cast<IZtaAudioSamplesEngineFactory*>(pv);
    void* result = nullptr;
    EXPECT_EQ(factory->QueryInterface(IID_IClassFactory, &result), 0);
    EXPECT_EQ(result, static_cast<void*>(&outer));
    EXPECT_EQ(factory->AddRef(), 2U);
    factory->Release();
    factory->Release();
    EXPECT_EQ(inner->NonDelegatingRelease(), 0U);
}

TEST(ClassTable, HasTheOneClassOfTheModule)
{
    ASSERT_EQ(g_iTemplates, 1);
    EXPECT_STREQ(g_aoTemplates[0].m_pwszName, L"KelvarVideo AudioSamples Engine");
    EXPECT_EQ(std::memcmp(g_aoTemplates[0].m_pClsid, &CLSID_ZtaAudioSamplesEngine, sizeof(_GUID)), 0);
    EXPECT_EQ(g_aoTemplates[0].m_pfnCreateInstance, &CZtaAudioSamplesEngineFactory::CreateInstance);
    EXPECT_EQ(g_aoTemplates[0].m_pfnInitClass, nullptr);
    EXPECT_EQ(g_aoTemplates[0].m_pfnRegister, nullptr);
}

} // namespace
} // namespace zta::test
