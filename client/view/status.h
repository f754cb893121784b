// Whether all is well with a gateway: its service, rows against hardware, changes
// that are not done, tools that failed.
#pragma once

#include "client/change/verdict.h"
#include "client/records/trial.h"
#include "client/service/last_load.h"
#include "client/service/log.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace swctl {

struct Status {
    std::string unreachable;      // why; empty: the service answers
    std::optional<int64_t> start; // of the service, ms since 1970; none: not known
    LastLoad load;
    Verdict verdict;         // rows against hardware
    size_t vlans = 0;        // in the rows
    std::set<int> different; // of them
    std::string unfinished;  // what a broken-off change was about
    std::optional<Trial> trial;
    std::vector<LogLine> failures; // tools that failed last, oldest first
    std::string failuresUnknown;   // why

    // How many VLANs are as a fresh start would have them; none: not all was read.
    [[nodiscard]] std::optional<size_t> applied() const;
    [[nodiscard]] ExitStatus exitStatus() const; // done, differs or unreachable
    [[nodiscard]] const char *health() const;    // "healthy", "not healthy", "not reachable"
};

Status statusOf(GatewayView &gateway);

} // namespace swctl
