// By a timer's signal: the messaging goes on waiting when it is interrupted.
#include "swctl/waiting.h"

#include "client/service/service.h"
#include "platform/relay.h"

#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace swctl {
namespace {

constexpr int patience = 1; // s

volatile std::sig_atomic_t forLog = 0;

void onLate(int)
{
    const char *text = forLog != 0 ? "swctl: waiting for the log daemon's answer\n"
                                   : "swctl: waiting for the service's answer\n";
    static_cast<void>(!write(STDERR_FILENO, text, strlen(text)));
}

void waits(int module, bool begins)
{
    forLog = module == LOGGING_RELAY_MODULE_ID ? 1 : 0;
    struct itimerval timer = {};
    timer.it_value.tv_sec = begins ? patience : 0;
    setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace

void tellLateAnswers()
{
    struct sigaction action = {};
    action.sa_handler = onLate;
    action.sa_flags = SA_RESTART;
    sigaction(SIGALRM, &action, nullptr);
    watchWaiting(waits);
}

} // namespace swctl
