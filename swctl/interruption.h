// The message shown when a change is interrupted.
#pragma once

#include <csignal>

namespace swctl {

// While an object exists, an interruption prints that the change is not lost, and ends the run.
// Between commit and answer the outcome is open; the journal has the change, and the next swctl
// finishes it.
class InterruptionTold {
public:
    InterruptionTold();
    ~InterruptionTold();
    InterruptionTold(const InterruptionTold &) = delete;
    InterruptionTold &operator=(const InterruptionTold &) = delete;

private:
    static constexpr int numbers[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction before[3];
};

} // namespace swctl
