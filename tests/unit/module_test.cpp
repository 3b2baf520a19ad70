#include "component/class_factory.h"
#include "component/guid.h"
#include "component/module.h"

#include <zta/engine_interfaces.h>
#include <zta/status.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

constexpr _GUID kForeign = {0x45F20097, 0xF519, 0x4DCF, {0x80, 0xD8, 0xCC, 0x0D, 0x06, 0xCB, 0xF2, 0x58}};

void* Reason(std::uintptr_t reason)
{
    return reinterpret_cast<void*>(reason);
}

TEST(Module, HasOneClass)
{
    ASSERT_EQ(g_iTemplates, 1);
    EXPECT_STREQ(g_aoTemplates[0].m_pwszName, L"KelvarVideo AudioSamples Engine");
    EXPECT_TRUE(ZtIsSameGuid(*g_aoTemplates[0].m_pClsid, CLSID_ZtaAudioSamplesEngine));
    EXPECT_NE(g_aoTemplates[0].m_pfnCreateInstance, nullptr);
    EXPECT_EQ(g_aoTemplates[0].m_pfnInitClass, nullptr);
    EXPECT_EQ(g_aoTemplates[0].m_pfnRegister, nullptr);
}

TEST(Module, KeepsItsHandleAtLoadOnly)
{
    EXPECT_EQ(DllEntryPoint(0x12345678, Reason(1)), 1);
    EXPECT_EQ(g_hInst, 0x12345678U);
    EXPECT_EQ(DllEntryPoint(2, Reason(0)), 1);
    EXPECT_EQ(DllEntryPoint(3, Reason(2)), 1);
    EXPECT_EQ(DllEntryPoint(4, Reason(0x100000001)), 1) << "the reason is the whole pointer";
    EXPECT_EQ(g_hInst, 0x12345678U);
    EXPECT_EQ(DllEntryPoint(0, Reason(1)), 1);
    EXPECT_EQ(g_hInst, 0U);
}

using GetClassObject = int (*)(const _GUID&, const _GUID&, void**);

class ModuleClassObject : public testing::TestWithParam<GetClassObject> {};

INSTANTIATE_TEST_SUITE_P(Both, ModuleClassObject, testing::Values(&DllGetClassObject, &ZtInternalGetClassObject));

TEST_P(ModuleClassObject, IsAFactoryWithOneReference)
{
    const int objects = g_i32Objects;
    const _GUID clsid = CLSID_ZtaAudioSamplesEngine; // found by its bytes, not by its address
    for (const _GUID* iid : {&IID_IUnknown, &IID_IClassFactory}) {
        void* result = nullptr;
        EXPECT_EQ(GetParam()(clsid, *iid, &result), 0);
        ASSERT_NE(result, nullptr);
        auto* factory = static_cast<IClassFactory*>(result);
        EXPECT_NE(dynamic_cast<CZtClassFactory*>(factory), nullptr);
        EXPECT_EQ(g_i32Objects, objects + 1);
        EXPECT_EQ(factory->AddRef(), 2U);
        EXPECT_EQ(factory->Release(), 1U);
        EXPECT_EQ(factory->Release(), 0U);
        EXPECT_EQ(g_i32Objects, objects);
    }
}

TEST_P(ModuleClassObject, IsANewOneForEachCall)
{
    void* first = nullptr;
    void* second = nullptr;
    EXPECT_EQ(GetParam()(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &first), 0);
    EXPECT_EQ(GetParam()(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &second), 0);
    EXPECT_NE(first, second);
    static_cast<IUnknown*>(first)->Release();
    static_cast<IUnknown*>(second)->Release();
}

TEST_P(ModuleClassObject, RejectsOtherInterfacesAndClasses)
{
    const int objects = g_i32Objects;
    int untouched = 0;
    void* result = &untouched;
    const int no_interface = static_cast<int>(0x80004002);
    const int no_class = static_cast<int>(0x80040110);
    EXPECT_EQ(GetParam()(CLSID_ZtaAudioSamplesEngine, IID_IZtaAudioSamplesEngine, &result), no_interface);
    EXPECT_EQ(GetParam()(kForeign, IID_IZtaAudioSamplesEngine, &result), no_interface) << "the interface comes first";
    EXPECT_EQ(GetParam()(kForeign, IID_IClassFactory, &result), no_class);
    EXPECT_EQ(GetParam()(kForeign, IID_IUnknown, &result), no_class);
    EXPECT_EQ(result, &untouched);
    EXPECT_EQ(g_i32Objects, objects);
}

TEST(Module, CannotUnloadWhileAFactoryExists)
{
    EXPECT_EQ(DllCanUnloadNow(), 0);
    void* factory = nullptr;
    ASSERT_EQ(DllGetClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &factory), 0);
    EXPECT_EQ(DllCanUnloadNow(), 1);
    static_cast<IClassFactory*>(factory)->Release();
    EXPECT_EQ(DllCanUnloadNow(), 0);
}

TEST(Module, CannotUnloadWhileItIsLocked)
{
    void* result = nullptr;
    ASSERT_EQ(DllGetClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &result), 0);
    EXPECT_EQ(static_cast<IClassFactory*>(result)->LockServer(1), 0);
    static_cast<IClassFactory*>(result)->Release();
    EXPECT_EQ(DllCanUnloadNow(), 1) << "the lock outlives its factory";

    ASSERT_EQ(DllGetClassObject(CLSID_ZtaAudioSamplesEngine, IID_IClassFactory, &result), 0);
    EXPECT_EQ(static_cast<IClassFactory*>(result)->LockServer(0), 0);
    EXPECT_EQ(DllCanUnloadNow(), 1) << "the factory exists";
    static_cast<IClassFactory*>(result)->Release();
    EXPECT_EQ(DllCanUnloadNow(), 0);
}

TEST(Module, CannotUnloadWhileAnObjectExists)
{
    auto* object = new CZtLightUnknown(L"object", nullptr);
    EXPECT_EQ(DllCanUnloadNow(), 1);
    object->NonDelegatingRelease();
    EXPECT_EQ(DllCanUnloadNow(), 0);
}

TEST(Module, TracingCallsDoNothing)
{
    _ztStartWPP();
    _ztStopWPP();
    EXPECT_EQ(DllCanUnloadNow(), 0);
}

TEST(GuidText, HasThreeHyphensAndUppercaseDigitsPaddedWithZeros)
{
    EXPECT_EQ(ztGuidToString(CLSID_ZtaAudioSamplesEngine), L"{45F20097-F519-4DCF-80D8CC0D06CBF259}");
    EXPECT_EQ(ztGuidToString({0xFFFFFFFF, 0xFFFF, 0xFFFF, {255, 255, 255, 255, 255, 255, 255, 255}}),
              L"{FFFFFFFF-FFFF-FFFF-FFFFFFFFFFFFFFFF}");
    EXPECT_EQ(ztGuidToString({}), L"{00000000-0000-0000-0000000000000000}");
    EXPECT_EQ(ztGuidToString({0x1, 0x2A, 0x3, {0, 1, 2, 3, 4, 0xA, 0xB, 0xC}}),
              L"{00000001-002A-0003-00010203040A0B0C}");
}

TEST(Guid, IsComparedByItsSixteenBytes)
{
    const _GUID guid = CLSID_ZtaAudioSamplesEngine;
    EXPECT_TRUE(ZtIsSameGuid(guid, guid));
    EXPECT_TRUE(ZtIsSameGuid(guid, CLSID_ZtaAudioSamplesEngine));
    for (std::size_t i = 0; i < sizeof(_GUID); ++i) {
        _GUID other = guid;
        reinterpret_cast<unsigned char*>(&other)[i] ^= 1;
        EXPECT_FALSE(ZtIsSameGuid(guid, other)) << i;
    }
}

TEST(VersionInfo, HasRevisionReleaseAndBuild)
{
    ASSERT_EQ(sizeof(g_achVersionInfo), 181U);
    const auto* bytes = reinterpret_cast<const char*>(&g_achVersionInfo);
    EXPECT_EQ(std::string(bytes, 40).find_first_not_of("0123456789abcdefABCDEF"), std::string::npos);

    const std::string release(bytes + 40, 128);
    const std::string build(bytes + 168, 13);
    for (const std::string& text : {release, build}) {
        const std::size_t end = text.find('\0');
        ASSERT_NE(end, 0U);
        ASSERT_NE(end, std::string::npos);
        EXPECT_EQ(text.find_first_not_of('\0', end), std::string::npos) << "padded with NUL";
    }
    EXPECT_EQ(build.substr(0, build.find('\0')).find_first_not_of("0123456789"), std::string::npos);
}

} // namespace
