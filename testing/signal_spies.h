/// Spies that replace the dispatched functions: they record which variant a public function calls, and with which
/// arguments. A spy does not need the variant's instructions, so every variant can be selected on every CPU.
#pragma once

#include "signal/functions.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <tuple>
#include <unistd.h>

namespace zta::test {

/// The index of the variant that the last call of this thread reached, or -1.
inline thread_local int calledVariant = -1;

/// A spy for each function and variant. The function is identified by its first-call stub.
template <auto Function, int Build, class Type = decltype(Function)>
struct SignalSpy;

template <auto Function, int Build, class Result, class... Arguments>
struct SignalSpy<Function, Build, Result (*)(Arguments...) noexcept> {
    /// The arguments of this thread's last call.
    static inline thread_local std::tuple<Arguments...> arguments;

    static Result Call(Arguments... values) noexcept
    {
        calledVariant = Build;
        arguments = {values...};
        return Result();
    }
};

/// Overwrites the start of a function of the module with a jump, permanently. Use it in a separate process.
inline void Redirect(const char* name, const void* target)
{
    void* const module = ::dlopen(ZTA_MODULE_PATH, RTLD_NOLOAD | RTLD_LAZY);
    ASSERT_NE(module, nullptr);
    auto* const function = static_cast<unsigned char*>(::dlsym(module, name));
    ::dlclose(module);
    ASSERT_NE(function, nullptr) << name << " is not exported";

    std::array<unsigned char, 12> code = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0}; // mov rax, target; jmp rax
    std::memcpy(code.data() + 2, &target, sizeof(target));
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(function);
    const auto first = start & ~(page - 1);
    ASSERT_EQ(
        ::mprotect(reinterpret_cast<void*>(first), start + code.size() - first, PROT_READ | PROT_WRITE | PROT_EXEC), 0);
    std::memcpy(function, code.data(), code.size());
}

template <auto Function, int Build>
void RedirectToSpy(const char* name)
{
    Redirect(name, reinterpret_cast<const void*>(&SignalSpy<Function, Build>::Call));
}

/// Replaces each dispatched function of each variant with a spy.
inline void RedirectAllToSpies()
{
    enum : int {
#define ZTA_TEST_INDEX(argument, prefix, features) index_##prefix,
        ZTA_IPP_VARIANT_LIST(ZTA_TEST_INDEX, )
#undef ZTA_TEST_INDEX
    };
#define ZTA_TEST_REDIRECT(result, name, prefix, parameters, arguments)                                                 \
    RedirectToSpy<&in_##name, index_##prefix>(#prefix "_" #name);
#define ZTA_TEST_REDIRECT_BUILD(argument, prefix, features) ZTA_IPP_DISPATCHED_LIST(ZTA_TEST_REDIRECT, prefix)
    ZTA_IPP_VARIANT_LIST(ZTA_TEST_REDIRECT_BUILD, )
#undef ZTA_TEST_REDIRECT_BUILD
#undef ZTA_TEST_REDIRECT
}

/// Runs a part of a test in a new process, where no variant is selected yet. The state of the dispatch cannot be reset.
template <class Body>
void InFreshProcess(Body body)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            body();
            std::exit(::testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        },
        ::testing::ExitedWithCode(EXIT_SUCCESS), "");
}

} // namespace zta::test
