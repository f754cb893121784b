// The health of a gateway: its service, rows compared with hardware, unfinished changes, and
// failed tools.
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
    std::optional<int64_t> start; // of the service, ms since 1970; none: unknown
    LastLoad load;
    Verdict verdict;         // rows compared with hardware
    size_t vlans = 0;        // in the rows
    std::set<int> different; // VLANs in the rows that differ
    std::string unfinished;  // description of an interrupted change
    std::optional<Trial> trial;
    size_t errors = 0, warnings = 0; // that the checks find in the rows
    std::vector<LogLine> failures;   // tools whose last run failed, oldest first
    std::string failuresUnknown;     // why they are unknown; empty: they are known

    // How many VLANs are as a fresh start would set them up; none if something was not read.
    [[nodiscard]] std::optional<size_t> applied() const;
    [[nodiscard]] ExitStatus exitStatus() const; // done, differs or unreachable
    // "healthy", "not healthy", "not reachable"; "not all known" if nothing is known to be wrong
    [[nodiscard]] const char *health() const;
    [[nodiscard]] bool isHealthy() const;
};

Status statusOf(GatewayView &gateway);

} // namespace swctl
