// The outcome of the service's last configuration load, according to its log.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

struct LastLoad {
    std::string unknown;              // why the outcome is unknown; empty if known
    bool stopped = false;             // not all of the configuration was loaded
    int64_t time = 0;                 // ns since 1970, of the line that reports it
    std::vector<std::string> reasons; // log lines; the last one reports the failure

    // "went through; the log reports no failure", "stopped at ...", "not known: ..."
    [[nodiscard]] std::string text() const;
};

// For a service started at `start`, in ms since 1970.
LastLoad lastLoadSince(int64_t start);

} // namespace swctl
