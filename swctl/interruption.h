// The message shown when a change is interrupted.
#pragma once

#include "client/change/carry_out.h"

#include <csignal>

namespace swctl {

// While an object exists, an interruption prints what is true at that moment, and ends the
// run. Between commit and answer the outcome is open; the journal has the change, and the
// next swctl finishes it.
class InterruptionTold {
public:
    enum class Work {
        change, // carried out in stages, see changeReached
        repair  // of the hardware, for rows that stand
    };

    explicit InterruptionTold(Work work);
    ~InterruptionTold();
    InterruptionTold(const InterruptionTold &) = delete;
    InterruptionTold &operator=(const InterruptionTold &) = delete;

private:
    static constexpr int numbers[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction before[3];
};

// To be called before each stage of a change.
void changeReached(Stage stage);

} // namespace swctl
