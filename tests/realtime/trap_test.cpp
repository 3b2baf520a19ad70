// Tests of the real-time trap itself.

#include "tests/realtime/realtime_trap.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <mutex>
#include <semaphore.h>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

using zta::test::RealtimeTrap;
using zta::test::RunUnderSeccomp;

/// Hides a pointer from the optimizer, which would otherwise remove an unused allocation.
void Keep(void* memory)
{
    asm volatile("" : : "r"(memory) : "memory");
}

class Watch : public testing::Test {
protected:
    void SetUp() override
    {
        if (!RealtimeTrap::IsAvailable()) {
            GTEST_SKIP() << "the sanitizer watches the allocator itself";
        }
    }
};

/// The first forbidden call, and the number of them.
using Violations = std::pair<std::string, int>;

template <class Action>
Violations Caught(Action action)
{
    RealtimeTrap trap;
    action();
    const int violations = trap.Violations();
    return {trap.First(), violations};
}

TEST_F(Watch, SeesNothingInPureArithmetic)
{
    volatile int sum = 0;
    EXPECT_EQ(Caught([&sum] {
                  for (int i = 0; i < 1000; ++i) {
                      sum = sum + i;
                  }
              }),
              Violations("", 0));
}

TEST_F(Watch, CatchesEachForbiddenCall)
{
    constexpr int kAny = 0;
    struct Case {
        const char* first;
        int count;
        std::function<void()> act;
    };
    void* memory = nullptr;
    int* number = nullptr;
    char byte = 0;
    std::mutex mutex;
    std::mutex waited;
    std::unique_lock lock(waited);
    std::condition_variable condition;
    sem_t semaphore;
    ASSERT_EQ(sem_init(&semaphore, 0, 1), 0);
    const timespec moment = {0, 1};
    const Case cases[] = {
        {"malloc", 1, [&] { Keep(memory = std::malloc(10)); }},
        {"free", 1, [&] { std::free(memory); }},
        {"calloc", kAny, [&] { Keep(memory = std::calloc(1, 10)); }},
        {"realloc", kAny, [&] { Keep(memory = std::realloc(memory, 5000)); }},
        {"free", 1, [&] { std::free(memory); }},
        {"aligned_alloc", kAny, [&] { Keep(memory = std::aligned_alloc(64, 64)); }},
        {"free", 1, [&] { std::free(memory); }},
        {"posix_memalign", kAny, [&] { EXPECT_EQ(posix_memalign(&memory, 64, 64), 0); }},
        {"free", 1, [&] { std::free(memory); }},
        {"malloc", 1, [&] { Keep(number = new int(1)); }},
        {"free", 1, [&] { delete number; }},
        {"pthread_mutex_lock", 2, [&] { const std::lock_guard guard(mutex); }},
        {"write", 1, [] { ASSERT_EQ(write(-1, "", 0), -1); }},
        {"read", 1, [&] { ASSERT_EQ(read(-1, &byte, 1), -1); }},
        {"open", 1, [] { ASSERT_EQ(open("/nowhere/at/all", O_RDONLY), -1); }},
        {"fopen", kAny, [] { ASSERT_EQ(std::fopen("/nowhere/at/all", "r"), nullptr); }},
        {"pthread_cond_clockwait", 1, [&] { condition.wait_for(lock, std::chrono::microseconds(1)); }},
        {"sem_wait", 1, [&] { EXPECT_EQ(sem_wait(&semaphore), 0); }},
        {"sem_post", 1, [&] { EXPECT_EQ(sem_post(&semaphore), 0); }},
        {"malloc", kAny, [] { std::thread([] {}).join(); }}, // and pthread_create after it
        {"nanosleep", 1, [&] { nanosleep(&moment, nullptr); }},
        {"clock_nanosleep", 1, [&] { clock_nanosleep(CLOCK_MONOTONIC, 0, &moment, nullptr); }},
        {"usleep", kAny, [] { usleep(1); }},
        {"sleep", kAny, [] { sleep(0); }},
        {"sched_yield", 1, [] { std::this_thread::yield(); }},
    };
    for (const Case& test : cases) {
        const auto [first, count] = Caught(test.act);
        EXPECT_EQ(first, test.first);
        EXPECT_EQ(count, test.count == kAny ? count : test.count) << test.first;
    }
    EXPECT_EQ(sem_destroy(&semaphore), 0);
}

TEST_F(Watch, NamesTheFirstAndCountsAll)
{
    std::mutex mutex;
    EXPECT_EQ(Caught([&mutex] {
                  void* memory = std::malloc(10);
                  Keep(memory);
                  const std::lock_guard lock(mutex);
                  std::free(memory);
              }),
              Violations("malloc", 4));
}

TEST_F(Watch, EndsWithItsScope)
{
    {
        RealtimeTrap trap;
        Keep(std::make_unique<int>(1).get());
    }
    Keep(std::make_unique<int>(1).get());
    RealtimeTrap trap;
    EXPECT_EQ(trap.Violations(), 0);
}

class Seccomp : public testing::Test {
protected:
    void SetUp() override
    {
        if (RunUnderSeccomp([](void*) {}, nullptr) == zta::test::kSeccompUnavailable) {
            GTEST_SKIP() << "neither under a sanitizer nor where the kernel rejects filters";
        }
    }
};

TEST_F(Seccomp, LetsPureArithmeticThrough)
{
    const auto count = [](void* sum) {
        for (int i = 0; i < 1000; ++i) {
            *static_cast<volatile int*>(sum) = *static_cast<volatile int*>(sum) + i;
        }
    };
    int sum = 0;
    EXPECT_EQ(RunUnderSeccomp(count, &sum), zta::test::kNoSystemCall);
    EXPECT_EQ(sum, 0) << "the child works on its own memory";
}

TEST_F(Seccomp, CatchesAWrite)
{
    EXPECT_EQ(RunUnderSeccomp([](void*) { EXPECT_EQ(write(1, "x", 1), 1); }, nullptr), SYS_write);
}

TEST_F(Seccomp, CatchesACallThatBypassesTheLibrary)
{
    EXPECT_EQ(RunUnderSeccomp(
                  [](void*) {
                      long number = SYS_getppid;
                      asm volatile("syscall" : "+a"(number) : : "rcx", "r11", "memory");
                  },
                  nullptr),
              SYS_getppid);
}

TEST_F(Seccomp, CatchesAnAllocationThatNeedsMoreMemory)
{
    EXPECT_EQ(RunUnderSeccomp([](void*) { Keep(std::malloc(std::size_t{1} << 30)); }, nullptr), SYS_mmap);
}

TEST_F(Seccomp, DistinguishesACrashFromASystemCall)
{
    EXPECT_EQ(RunUnderSeccomp([](void*) { asm volatile("ud2"); }, nullptr), zta::test::kCrashed);
}

} // namespace
