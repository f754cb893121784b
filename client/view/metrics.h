// A gateway's state as text for a monitoring system.
#pragma once

#include "client/rehearse/hardware_state.h"
#include "client/service/log.h"
#include "client/view/status.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

// What is known of a gateway. What is none gives no line: a number would be made up.
struct Facts {
    bool up = false;
    std::optional<int64_t> start; // of the service, ms since 1970
    std::optional<Status> status; // none: database or rehearsal are in the way
    std::string reason;           // why there is none
    std::optional<LogCounts> counts;
    struct Ports {
        std::string node; // of the switch's row
        std::vector<PortState> states;
    };
    std::vector<Ports> ports;         // of each device that has a request for them
    std::map<std::string, bool> read; // part of the gateway: whether it could be read
};

Facts factsOf(const std::string &databasePath, const std::string &siteFile);

std::string metricsText(const Facts &facts);

} // namespace swctl
