#include "tools/common/signal_handling.h"

#include "tools/common/failure.h"

#include <csignal>
#include <cstdlib>

namespace {

volatile std::sig_atomic_t g_signal = 0;

extern "C" void RememberSignal(int signal)
{
    g_signal = signal;
}

} // namespace

void InstallSignalHandlers(SecondSignal second)
{
    struct sigaction remember = {};
    remember.sa_handler = RememberSignal;
    remember.sa_flags = SA_RESTART | (second == SecondSignal::Kills ? static_cast<int>(SA_RESETHAND) : 0);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction inherited = {};
        sigaction(signal, nullptr, &inherited);
        if (inherited.sa_handler != SIG_IGN) { // as under nohup
            sigaction(signal, &remember, nullptr);
        }
    }
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, nullptr);
    sigaction(SIGXFSZ, &ignore, nullptr);
}

bool IsInterrupted() noexcept
{
    return g_signal != 0;
}

void CheckInterruption()
{
    if (g_signal != 0) {
        throw Interrupted(g_signal);
    }
}

void RaiseDefaultSignal(int signal)
{
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    std::_Exit(128 + signal);
}
