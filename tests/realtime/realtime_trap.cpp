#include "tests/realtime/realtime_trap.h"

#include "testing/allocator/replaced_allocator.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zta::test {

namespace {

struct Watch {
    bool armed;
    int violations;
    const char* first;
};

// Constant-initialized, in the program itself: reading it calls no function.
constinit thread_local Watch watch{false, 0, ""};

} // namespace

RealtimeTrap::RealtimeTrap()
{
    watch = {true, 0, ""};
}

RealtimeTrap::~RealtimeTrap()
{
    watch.armed = false;
}

int RealtimeTrap::Violations()
{
    watch.armed = false;
    return watch.violations;
}

const char* RealtimeTrap::First()
{
    watch.armed = false;
    return watch.first;
}

bool RealtimeTrap::IsAvailable()
{
#ifdef ZTA_SANITIZED
    return false;
#else
    return true;
#endif
}

namespace {

#ifndef ZTA_SANITIZED

void Note(const char* name)
{
    if (watch.armed) {
        if (watch.violations++ == 0) {
            watch.first = name;
        }
    }
}

/// Returns the next function of that name, in the libraries.
template <class Function>
Function* Next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

#endif

} // namespace

} // namespace zta::test

#ifndef ZTA_SANITIZED

namespace zta::test {

bool OnAllocation(const char* function) noexcept
{
    Note(function);
    return true;
}

void OnBlocksChanged(int change) noexcept
{
    if (change < 0) {
        Note("free");
    }
}

} // namespace zta::test

// Exported, so that the libraries call these.
#pragma GCC visibility push(default)

extern "C" {

/// One watched function that forwards its arguments.
#define ZTA_WATCH(result, name, parameters, arguments)                                                                 \
    result name parameters                                                                                             \
    {                                                                                                                  \
        zta::test::Note(#name);                                                                                        \
        static const auto next = zta::test::Next<result parameters>(#name);                                            \
        return next arguments;                                                                                         \
    }

ZTA_WATCH(int, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
ZTA_WATCH(int, pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex))
ZTA_WATCH(int, pthread_mutex_unlock, (pthread_mutex_t * mutex), (mutex))
ZTA_WATCH(int, pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
ZTA_WATCH(int, pthread_rwlock_wrlock, (pthread_rwlock_t * lock), (lock))
ZTA_WATCH(int, pthread_spin_lock, (pthread_spinlock_t * lock), (lock))
ZTA_WATCH(int, pthread_cond_wait, (pthread_cond_t * condition, pthread_mutex_t* mutex), (condition, mutex))
ZTA_WATCH(int, pthread_cond_timedwait, (pthread_cond_t * condition, pthread_mutex_t* mutex, const timespec* until),
          (condition, mutex, until))
ZTA_WATCH(int, pthread_cond_clockwait,
          (pthread_cond_t * condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* until),
          (condition, mutex, clock, until))
ZTA_WATCH(int, pthread_cond_signal, (pthread_cond_t * condition), (condition))
ZTA_WATCH(int, pthread_cond_broadcast, (pthread_cond_t * condition), (condition))
ZTA_WATCH(int, sem_wait, (sem_t * semaphore), (semaphore))
ZTA_WATCH(int, sem_timedwait, (sem_t * semaphore, const timespec* until), (semaphore, until))
ZTA_WATCH(int, sem_post, (sem_t * semaphore), (semaphore))
ZTA_WATCH(int, sched_yield, (), ())
ZTA_WATCH(int, nanosleep, (const timespec* time, timespec* left), (time, left))
ZTA_WATCH(int, clock_nanosleep, (clockid_t clock, int flags, const timespec* time, timespec* left),
          (clock, flags, time, left))
ZTA_WATCH(unsigned, sleep, (unsigned seconds), (seconds))
ZTA_WATCH(int, pthread_create,
          (pthread_t * thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument),
          (thread, attributes, start, argument))
ZTA_WATCH(int, pthread_join, (pthread_t thread, void** result), (thread, result))
ZTA_WATCH(int, usleep, (useconds_t time), (time))
ZTA_WATCH(std::FILE*, fopen, (const char* path, const char* mode), (path, mode))
ZTA_WATCH(std::size_t, fwrite, (const void* data, std::size_t size, std::size_t count, std::FILE* file),
          (data, size, count, file))
ZTA_WATCH(int, puts, (const char* text), (text))
ZTA_WATCH(int, close, (int file), (file))
ZTA_WATCH(ssize_t, read, (int file, void* data, std::size_t size), (file, data, size))
ZTA_WATCH(ssize_t, write, (int file, const void* data, std::size_t size), (file, data, size))
ZTA_WATCH(char*, getenv, (const char* name), (name))

int open(const char* path, int flags, ...)
{
    zta::test::Note("open");
    static const auto next = zta::test::Next<int(const char*, int, ...)>("open");
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return next(path, flags, mode);
}

} // extern "C"

#pragma GCC visibility pop

#endif

namespace zta::test {

#ifdef ZTA_SANITIZED

int RunUnderSeccomp(void (*)(void*), void*)
{
    return kSeccompUnavailable;
}

#else

namespace {

/// The child's view of a page shared with the parent.
volatile int* seen_by_parent = nullptr;

[[noreturn]] void EndChild()
{
    for (;;) {
        syscall(SYS_exit_group, 0);
    }
}

void OnRefusedSystemCall(int, siginfo_t* info, void*)
{
    *seen_by_parent = info->si_syscall;
    EndChild();
}

/// Allows no system call but exit_group in the calling process; any other raises SIGSYS.
bool RefuseSystemCalls()
{
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AUDIT_ARCH_X86_64, 0, 2),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {sizeof(filter) / sizeof(filter[0]), filter};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

} // namespace

int RunUnderSeccomp(void (*function)(void*), void* argument)
{
    void* page = mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) {
        return kSeccompUnavailable;
    }
    seen_by_parent = static_cast<int*>(page);
    *seen_by_parent = kCrashed;

    const pid_t child = fork();
    if (child == 0) {
        struct sigaction action {};
        action.sa_sigaction = OnRefusedSystemCall;
        action.sa_flags = SA_SIGINFO;
        if (sigaction(SIGSYS, &action, nullptr) != 0 || !RefuseSystemCalls()) {
            *seen_by_parent = kSeccompUnavailable;
            EndChild();
        }
        function(argument);
        *seen_by_parent = kNoSystemCall;
        EndChild();
    }

    int result = kSeccompUnavailable;
    if (child > 0) {
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        result = *seen_by_parent;
    }
    munmap(page, sizeof(int));
    return result;
}

#endif

} // namespace zta::test
