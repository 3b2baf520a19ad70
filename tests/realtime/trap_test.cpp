// Tests of the real-time trap itself.

#include "tests/realtime/realtime_trap.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
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

TEST_F(Watch, CatchesMalloc)
{
    void* memory = nullptr;
    EXPECT_EQ(Caught([&memory] { Keep(memory = std::malloc(10)); }), Violations("malloc", 1));
    EXPECT_EQ(Caught([&memory] { std::free(memory); }), Violations("free", 1));
}

TEST_F(Watch, CatchesTheAllocatorsOtherEntries)
{
    void* memory = nullptr;
    EXPECT_EQ(Caught([&memory] { Keep(memory = std::calloc(1, 10)); }).first, "calloc");
    EXPECT_EQ(Caught([&memory] { Keep(memory = std::realloc(memory, 5000)); }).first, "realloc");
    std::free(memory);
    EXPECT_EQ(Caught([&memory] { Keep(memory = std::aligned_alloc(64, 64)); }).first, "aligned_alloc");
    std::free(memory);
    EXPECT_EQ(Caught([&memory] { EXPECT_EQ(posix_memalign(&memory, 64, 64), 0); }).first, "posix_memalign");
    std::free(memory);
}

TEST_F(Watch, CatchesNewAndDelete)
{
    int* number = nullptr;
    EXPECT_EQ(Caught([&number] { Keep(number = new int(1)); }), Violations("malloc", 1));
    EXPECT_EQ(Caught([&number] { delete number; }), Violations("free", 1));
}

TEST_F(Watch, CatchesAMutex)
{
    std::mutex mutex;
    EXPECT_EQ(Caught([&mutex] { const std::lock_guard lock(mutex); }), Violations("pthread_mutex_lock", 2));
}

TEST_F(Watch, CatchesFiles)
{
    EXPECT_EQ(Caught([] { ASSERT_EQ(write(-1, "", 0), -1); }), Violations("write", 1));
    char byte = 0;
    EXPECT_EQ(Caught([&byte] { ASSERT_EQ(read(-1, &byte, 1), -1); }), Violations("read", 1));
    EXPECT_EQ(Caught([] { ASSERT_EQ(open("/nowhere/at/all", O_RDONLY), -1); }), Violations("open", 1));
    EXPECT_EQ(Caught([] { ASSERT_EQ(std::fopen("/nowhere/at/all", "r"), nullptr); }).first, "fopen");
}

TEST_F(Watch, CatchesWaits)
{
    using std::chrono::microseconds;
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable condition;
    EXPECT_EQ(Caught([&] { condition.wait_for(lock, microseconds(1)); }), Violations("pthread_cond_clockwait", 1));
    sem_t semaphore;
    ASSERT_EQ(sem_init(&semaphore, 0, 1), 0);
    EXPECT_EQ(Caught([&] { EXPECT_EQ(sem_wait(&semaphore), 0); }), Violations("sem_wait", 1));
    EXPECT_EQ(Caught([&] { EXPECT_EQ(sem_post(&semaphore), 0); }), Violations("sem_post", 1));
    EXPECT_EQ(sem_destroy(&semaphore), 0);
    EXPECT_EQ(Caught([] { std::thread([] {}).join(); }).first, "malloc") << "and pthread_create after it";
}

TEST_F(Watch, CatchesSleep)
{
    const timespec moment = {0, 1};
    EXPECT_EQ(Caught([&] { nanosleep(&moment, nullptr); }), Violations("nanosleep", 1));
    EXPECT_EQ(Caught([&] { clock_nanosleep(CLOCK_MONOTONIC, 0, &moment, nullptr); }), Violations("clock_nanosleep", 1));
    EXPECT_EQ(Caught([] { usleep(1); }).first, "usleep");
    EXPECT_EQ(Caught([] { sleep(0); }).first, "sleep");
    EXPECT_EQ(Caught([] { std::this_thread::yield(); }), Violations("sched_yield", 1));
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
