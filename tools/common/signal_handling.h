/// Signals that end a command in good order.
#pragma once

/// What a signal does that comes after the first one of its kind.
enum class SecondSignal {
    Kills,     ///< the program may be busy for long
    IsIgnored, ///< the end is near, and must not be cut short
};

/// From now on SIGINT, SIGTERM and SIGHUP are remembered for CheckInterruption. Writing to a closed pipe or beyond a
/// size limit becomes an ordinary write error.
void InstallSignalHandlers(SecondSignal second = SecondSignal::Kills);

/// Returns whether a signal has arrived.
bool IsInterrupted() noexcept;

/// Throws Interrupted if a signal has arrived.
void CheckInterruption();

/// Ends the program by the signal, as if it had never been caught.
[[noreturn]] void RaiseDefaultSignal(int signal);
