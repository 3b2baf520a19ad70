// The stack depth of each operation. Real-time threads have small stacks.

#include "testing/scenarios.h"
#include "tests/realtime/realtime_test_support.h"

#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <utility>

namespace zta::test {
namespace {

/// The bound of an operation, including the host's buffers.
#ifdef __OPTIMIZE__
constexpr std::size_t kBound = 8 * 1024;
#else
constexpr std::size_t kBound = 32 * 1024;
#endif

constexpr std::size_t kStackBytes = 512 * 1024;
constexpr auto kPaint = std::byte{0xA5};

/// Runs a function on a thread whose stack was filled with a pattern, and measures how much of it changed.
class PaintedStack {
public:
    PaintedStack()
        : memory_(static_cast<std::byte*>(
              mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0)))
    {
    }
    ~PaintedStack() { munmap(memory_, kStackBytes); }
    PaintedStack(const PaintedStack&) = delete;
    PaintedStack& operator=(const PaintedStack&) = delete;

    /// Returns the bytes of stack that the function used.
    std::size_t MeasureDepth(const std::function<void()>& function)
    {
        function_ = &function;
        pthread_attr_t attributes;
        EXPECT_EQ(pthread_attr_init(&attributes), 0);
        EXPECT_EQ(pthread_attr_setstack(&attributes, memory_, kStackBytes), 0);
        pthread_t thread{};
        EXPECT_EQ(pthread_create(&thread, &attributes, Start, this), 0);
        EXPECT_EQ(pthread_join(thread, nullptr), 0);
        EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
        const std::byte* const lowest = std::find_if(memory_, top_, [](std::byte value) { return value != kPaint; });
        EXPECT_GT(lowest, memory_) << "the stack was too small";
        return static_cast<std::size_t>(top_ - lowest);
    }

private:
    static void* Start(void* self)
    {
        static_cast<PaintedStack*>(self)->Run();
        return nullptr;
    }

    [[gnu::noinline]] void Run()
    {
        Paint();
        top_ = static_cast<std::byte*>(__builtin_frame_address(0));
        (*function_)();
        asm volatile("" ::: "memory"); // prevents a tail call
    }

    /// Fills the stack below its own frame. The bytes that stay unfilled lie within the frame of the measured function,
    /// if that uses more than the slack.
    [[gnu::noinline]] void Paint()
    {
        volatile std::byte* const end = static_cast<std::byte*>(__builtin_frame_address(0)) - kSlack;
        for (volatile std::byte* at = memory_; at < end; ++at) {
            *at = kPaint;
        }
    }

    static constexpr std::size_t kSlack = 256;
    std::byte* memory_;
    std::byte* top_ = nullptr;
    const std::function<void()>* function_ = nullptr;
};

/// Uses a known depth. The volatile writes keep the array.
template <std::size_t Bytes>
[[gnu::noinline]] void UseStack()
{
    std::array<volatile char, Bytes> memory;
    for (volatile char& at : memory) {
        at = 1;
    }
}

TEST(StackDepth, IsDetected)
{
    if (!RealtimeTrap::IsAvailable()) {
        GTEST_SKIP() << "the sanitizer has stacks of its own";
    }
    PaintedStack stack;
    for (const auto& [bytes, useStack] :
         {std::pair<std::size_t, void (*)()>{2000, UseStack<2000>}, {30000, UseStack<30000>}}) {
        const std::size_t depth = stack.MeasureDepth(useStack);
        EXPECT_GE(depth, bytes);
        EXPECT_LE(depth, bytes + 1000);
    }
}

class StackOfOperations : public RealtimeEngine {};

TEST_F(StackOfOperations, StaysWithinItsBound)
{
    if (!RealtimeTrap::IsAvailable()) {
        GTEST_SKIP() << "the sanitizer has frames of its own";
    }
    PaintedStack stack;
    std::map<std::string, std::size_t> deepest;
    for (const ScenarioCase& test : Scenarios()) {
        SCOPED_TRACE(test.name);
        std::size_t depth = 0;
        // The first call binds the functions of this program; the second is measured.
        for (int round = 0; round < 2; ++round) {
            const Scenario scenario = test.Make(MakeClocklessBuffer);
            int status = 1;
            depth = stack.MeasureDepth([&] { status = RunAnnounced(scenario, *engine_); });
            EXPECT_EQ(status, test.status);
        }
        EXPECT_LE(depth, kBound);
        deepest[test.operation] = std::max(deepest[test.operation], depth);
    }
    for (const auto& [operation, depth] : deepest) {
        EXPECT_GT(depth, 500U) << "nothing was measured";
        std::printf("%-28s %5zu bytes of stack\n", operation.c_str(), depth);
    }
}

} // namespace
} // namespace zta::test
