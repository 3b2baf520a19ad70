/// A class table with several entries, with and without hooks.
#include "component/class_factory.h"
#include "component/module.h"
#include "testing/child_process.h"
#include "testing/temp_directory.h"

#include <zta/module.h>
#include <zta/status.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr _GUID kFirst = {1, 0, 0, {}};
constexpr _GUID kSecond = {2, 0, 0, {}};
constexpr _GUID kThird = {3, 0, 0, {}};

/// The calls of the hooks so far, and the class whose registration hook fails.
std::string g_trace;
const _GUID* g_failing = nullptr;
int g_hook_status = 0;

void Init(bool is_loading, const _GUID* clsid)
{
    g_trace += (is_loading ? "load " : "unload ") + std::to_string(clsid->Data1) + "\n";
}

int Hook(bool is_registering, const _GUID* clsid)
{
    g_trace += (is_registering ? "register " : "unregister ") + std::to_string(clsid->Data1) + "\n";
    return clsid == g_failing ? ZT_E_FAIL : g_hook_status;
}

INonDelegatingUnknown* CreateNothing(IUnknown*, int* phr)
{
    *phr = ZT_E_INVALID_POINTER;
    return nullptr;
}

INonDelegatingUnknown* CreateNothingElse(IUnknown*, int* phr)
{
    *phr = ZT_E_INVALID_PARAMETER;
    return nullptr;
}

} // namespace

const CZtFactoryTemplate g_aoTemplates[] = {
    {L"First", &kFirst, CreateNothing, Init, Hook},
    {L"Second", &kSecond, CreateNothing, nullptr, nullptr},
    {L"Third", &kThird, CreateNothingElse, Init, Hook},
};
const int g_iTemplates = 3;

namespace {

class ClassTable : public testing::Test {
protected:
    void SetUp() override
    {
        g_trace.clear();
        g_failing = nullptr;
        g_hook_status = 0;
    }

    /// The status, the printed lines, and behind them the calls of the hooks.
    std::pair<int, std::string> Run(const std::function<int()>& function, const char* directory)
    {
        const ChildResult result = RunInChild([&] {
            directory != nullptr ? ::setenv("ORBUTILS", directory, 1) : ::unsetenv("ORBUTILS");
            const int status = function();
            std::fflush(stdout);
            WriteTextFile(trace_, g_trace);
            return status;
        });
        return {result.status, result.output + ReadTextFile(trace_)};
    }

    std::pair<int, std::string> Run(const std::function<int()>& function)
    {
        return Run(function, directory_.Path().c_str());
    }

    std::string Read() const { return ReadTextFile(file_); }

    static std::string Line(int number)
    {
        return " {0000000" + std::to_string(number) + "-0000-0000-0000000000000000}=/m.so\n";
    }

    using Outcome = std::pair<int, std::string>;

    TempDirectory directory_;
    std::string file_ = directory_.File("CLSIDs");
    std::string trace_ = directory_.File("trace");
};

int Register()
{
    return DllRegisterServer(L"/m.so");
}

TEST_F(ClassTable, TellsClassesOfLoadAndUnload)
{
    DllEntryPoint(1, reinterpret_cast<void*>(std::uintptr_t{1}));
    EXPECT_EQ(g_trace, "load 1\nload 3\n");
    DllEntryPoint(1, reinterpret_cast<void*>(std::uintptr_t{2}));
    EXPECT_EQ(g_trace, "load 1\nload 3\n");
    DllEntryPoint(1, nullptr);
    EXPECT_EQ(g_trace, "load 1\nload 3\nunload 1\nunload 3\n");
}

TEST_F(ClassTable, FindsTheRowOfAClass)
{
    const std::vector<std::pair<_GUID, int>> outcomes = {{kSecond, ZT_E_INVALID_POINTER},
                                                         {kThird, ZT_E_INVALID_PARAMETER}};
    for (const auto& [clsid, status] : outcomes) {
        void* factory = nullptr;
        ASSERT_EQ(DllGetClassObject(clsid, IID_IClassFactory, &factory), 0);
        void* object = nullptr;
        EXPECT_EQ(static_cast<IClassFactory*>(factory)->CreateInstance(nullptr, IID_IUnknown, &object), status);
        static_cast<IClassFactory*>(factory)->Release();
    }
}

TEST_F(ClassTable, RegistersAndUnregistersEachClass)
{
    EXPECT_EQ(Run(Register), Outcome(0, "- - Register First\n- - Register Second\n- - Register Third\n"
                                        "register 1\nregister 3\n"));
    EXPECT_EQ(Read(), " [CLSID]\n" + Line(3) + Line(2) + Line(1));
    EXPECT_EQ(Run(DllUnregisterServer), Outcome(0, "- - Unregister First\n- - Unregister Second\n"
                                                   "- - Unregister Third\nunregister 1\nunregister 3\n"));
    EXPECT_EQ(Read(), " [CLSID]\n");
}

TEST_F(ClassTable, AFailingHookEndsRegistration)
{
    g_failing = &kThird;
    EXPECT_EQ(Run(Register), Outcome(ZT_E_FAIL, "- - Register First\n- - Register Second\nregister 1\nregister 3\n"));
    EXPECT_EQ(Read(), " [CLSID]\n" + Line(2) + Line(1));
    g_failing = &kFirst;
    EXPECT_EQ(Run(Register), Outcome(ZT_E_FAIL, "register 1\n"));
}

TEST_F(ClassTable, AFailingHookDoesNotStopUnregistration)
{
    Run(Register);
    g_failing = &kFirst;
    EXPECT_EQ(Run(DllUnregisterServer).first, 0);
    EXPECT_EQ(Read(), " [CLSID]\n");
    g_failing = &kThird;
    EXPECT_EQ(Run(DllUnregisterServer).first, 0);
}

TEST_F(ClassTable, AHooksSuccessIsNotTheStatus)
{
    g_hook_status = 1;
    EXPECT_EQ(Run(Register).first, 0);
    EXPECT_EQ(Run(DllUnregisterServer).first, 0);
}

TEST_F(ClassTable, AFailingRegistrationEndsTheLoop)
{
    const std::string message = "ZtInternalGetIniFilePath: Environement variable ORBUTILS not found.\n";
    EXPECT_EQ(Run(Register, nullptr), Outcome(E_FAIL, message + "register 1\n"));
    EXPECT_EQ(Run(DllUnregisterServer, nullptr), Outcome(E_FAIL, message + "unregister 1\n"));
}

} // namespace
