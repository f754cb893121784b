// Tools run by the service whose last run failed, according to its log.
#pragma once

#include "client/rehearse/hardware_state.h"

#include <map>
#include <string>
#include <vector>

namespace swctl {

// Command lines, each with its exit status.
struct FailedTools {
    std::map<int, std::vector<std::string>> ofVlans; // that write an entry of that VLAN
    std::vector<std::string> others;
};

// If both `held` and `reason` are set, the list may be incomplete.
Part<FailedTools> readFailedTools();

} // namespace swctl
