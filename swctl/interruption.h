// What a person is told who interrupts a change.
#pragma once

#include <csignal>

namespace swctl {

// While it is there an interruption says that the change is not lost, and ends the
// run: between the commit and the answer it is open what became of the change; the
// journal has it, and the next swctl finishes it.
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
