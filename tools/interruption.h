/// Signals that end a command in good order.
#pragma once

/// From now on SIGINT, SIGTERM and SIGHUP are remembered for CheckInterruption; a second one kills at once. Writing
/// to a closed pipe or beyond a size limit becomes an ordinary write error.
void WatchSignals();

/// Throws Interrupted when a signal has come.
void CheckInterruption();

/// Ends the program by the signal, as if it had never been caught.
[[noreturn]] void DieBySignal(int signal);
