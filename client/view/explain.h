// What becomes of a frame at a port, and why: by the rows, by what a fresh start
// would give and by what is held.
#pragma once

#include "client/view/explanation.h"

#include <string>
#include <vector>

namespace swctl {

// What becomes of the VLAN's frames and of untagged ones at a port.
PortExplanation explainPort(const Inspection &inspection, const PortName &port, int vlanId);

struct SubInterfaceState {
    std::string name;
    int vlanId = 0;
    std::string wanted, held; // "up", "none", "not read"
    HostSide gets;
};

struct InterfaceExplanation {
    std::string name;
    bool exists = false;
    std::string parent;             // the interface that the rows name
    std::vector<std::string> ports; // whose row names it, as "port 1 of PSE"
    std::vector<SubInterfaceState> subs;
    std::vector<Difference> differs;
    std::vector<Finding> findings;
    std::vector<std::string> reasons;
    std::vector<std::string> unread;

    [[nodiscard]] bool asWanted() const { return exists && differs.empty() && unread.empty(); }
};

// `name` is an interface, as "eth0", or a VLAN's sub-interface, as "eth0.20".
InterfaceExplanation explainInterface(const Inspection &inspection,
                                      const std::vector<Row> &portRows, const std::string &name);

} // namespace swctl
