// A gateway's state in the text format of a monitoring system.
#pragma once

#include "client/rehearse/hardware_state.h"
#include "client/service/log.h"
#include "client/view/status.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

// What is known about a gateway. An unset member produces no sample, since any value would be
// made up.
struct Facts {
    bool up = false;
    std::optional<int64_t> start; // of the service, ms since 1970
    std::optional<Status> status; // none: the database or the rehearsal failed
    std::string reason;           // why it failed
    std::optional<LogCounts> counts;
    struct Ports {
        std::string node; // from the switch's row
        std::vector<PortState> states;
    };
    std::vector<Ports> ports;         // of each device that can report them
    std::map<std::string, bool> read; // part of the gateway: whether it could be read
};

Facts factsOf(const std::string &databasePath, const std::string &siteFile);

std::string metricsText(const Facts &facts);

} // namespace swctl
