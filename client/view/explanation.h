// What is said about frames at a port.
#pragma once

#include "client/view/inspection.h"

#include <string>
#include <vector>

namespace swctl {

// A port of a switch that takes part in VLANs.
struct PortName {
    std::string switchName;
    int number = 0;
    const Device *device = nullptr;
};

struct PortExplanation {
    PortName port;
    int vlanId = 0;
    std::vector<std::string> rows;    // what each row of the VLAN says of the port
    PortAnswer answer;                // of the device
    std::vector<Finding> findings;    // about the VLAN's rows
    std::vector<std::string> reasons; // failed commands and lines of a start's log
    std::string remedy;               // what gives the port the VLAN; empty: nothing to be had

    [[nodiscard]] bool asWanted() const { return answer.differs.empty() && answer.unread.empty(); }
};

} // namespace swctl
