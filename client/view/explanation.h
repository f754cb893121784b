// The explanation of a VLAN at a port.
#pragma once

#include "client/view/inspection.h"

#include <string>
#include <vector>

namespace swctl {

struct PortName {
    std::string switchName;
    int number = 0;
    const Device *device = nullptr;
};

struct PortExplanation {
    PortName port;
    int vlanId = 0;
    std::vector<std::string> rows;    // each row of the VLAN, as text
    PortAnswer answer;                // from the device
    std::vector<Finding> findings;    // about the VLAN's rows
    std::vector<std::string> reasons; // failed commands and lines from a start's log
    std::string remedy;               // command that makes the port a member; empty: none

    [[nodiscard]] bool asWanted() const { return answer.differs.empty() && answer.unread.empty(); }
};

} // namespace swctl
