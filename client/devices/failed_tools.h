// Tools of the service that failed last, by its log.
#pragma once

#include "client/rehearse/hardware_state.h"

#include <map>
#include <string>
#include <vector>

namespace swctl {

// Lines, each with the status that it returned.
struct FailedTools {
    std::map<int, std::vector<std::string>> ofVlans; // that wrote an entry of a VLAN
    std::vector<std::string> others;
};

// With a reason next to what is held, there may be more.
Part<FailedTools> readFailedTools();

} // namespace swctl
