// What a daemon inherits from whoever starts it may be anything: signals that are
// blocked, and children whose end nobody is to learn.
#pragma once

#include <csignal>

using SignalHandler = void (*)(int number);

// Handles a signal without SA_RESTART, so that a wait ends.
inline void signalHandle(int number, SignalHandler handler)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(number, &action, nullptr);
}

// Blocks nothing, and lets the end of a child be waited for.
inline void signalsReset()
{
    signalHandle(SIGCHLD, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}
