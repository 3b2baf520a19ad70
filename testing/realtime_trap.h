/// Proof that code keeps off the allocator, off locks and out of the kernel.
///
/// Two means that complete each other: a watch over the C library's entry points, which names what was called, and a
/// filter in the kernel, which no way around the library escapes. The watch replaces malloc and its like in the whole
/// program; so it is part of the program of the room `realtime` only, and this header is for its tests.
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

    /// Ends the watch and tells how many forbidden calls there were.
    int Violations();

    /// Ends the watch and names the first forbidden call; "" if there was none.
    const char* First();

    /// False in builds whose sanitizer has these entry points for itself: the watch then sees nothing, and
    /// RunUnderSeccomp is unavailable, since the sanitizer's own runtime enters the kernel.
    static bool IsAvailable();
};

/// What RunUnderSeccomp returns if it is none of the numbers of system calls.
inline constexpr int kNoSystemCall = -1;
inline constexpr int kCrashed = -2;
inline constexpr int kSeccompUnavailable = -3;

/// Runs `function(argument)` in a forked child that may make no system call but the one that ends it. Returns
/// kNoSystemCall if it ran to its end, the number of the first system call (see <sys/syscall.h>) if it made one, else
/// one of the other values. What the function does to memory stays in the child.
int RunUnderSeccomp(void (*function)(void*), void* argument);

} // namespace zta::test
