// A daemon may inherit any signal settings from its parent: blocked signals, or
// SIGCHLD ignored.
#pragma once

#include <csignal>

using SignalHandler = void (*)(int number);

// Handles a signal without SA_RESTART, so that it interrupts a wait.
inline void signalHandle(int number, SignalHandler handler)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(number, &action, nullptr);
}

// Unblocks all signals and makes it possible to wait for a child's end.
inline void signalsReset()
{
    signalHandle(SIGCHLD, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}
