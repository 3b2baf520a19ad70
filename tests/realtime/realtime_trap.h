/// Proves that code does not allocate, lock or enter the kernel.
///
/// Two complementary means: interposed functions of the C library, which name the forbidden call, and a filter in the
/// kernel, which also detects calls that bypass the library. The interposition replaces malloc and similar functions in
/// the whole program, so only the program of tests/realtime has it, and this header is for its tests.
#pragma once

namespace zta::test {

/// Watches the calling thread from construction to destruction.
///
///     zta::test::RealtimeTrap trap;
///     engine->CopyAudioSamples(source, destination);
///     EXPECT_EQ(trap.Violations(), 0) << trap.First();
class RealtimeTrap {
public:
    RealtimeTrap();
    ~RealtimeTrap();

    RealtimeTrap(const RealtimeTrap&) = delete;
    RealtimeTrap& operator=(const RealtimeTrap&) = delete;

    /// Ends the watch and returns the number of forbidden calls.
    int Violations();

    /// Ends the watch and returns the name of the first forbidden call, or "".
    const char* First();

    /// Returns false in builds whose sanitizer replaces these functions: the watch then detects nothing, and
    /// RunUnderSeccomp is unavailable, since the sanitizer's own runtime enters the kernel.
    static bool IsAvailable();
};

/// Results of RunUnderSeccomp other than the number of a system call.
inline constexpr int kNoSystemCall = -1;
inline constexpr int kCrashed = -2;
inline constexpr int kSeccompUnavailable = -3;

/// Runs `function(argument)` in a forked child that may make no system call but the one that ends it. Returns
/// kNoSystemCall if it returned, the number of the first system call (see <sys/syscall.h>) if it made one, else
/// one of the other values. Its changes of memory stay in the child.
int RunUnderSeccomp(void (*function)(void*), void* argument);

} // namespace zta::test
