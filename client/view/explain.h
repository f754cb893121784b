// Explains what happens to frames at a port or an interface and why, from the rows, the
// outcome of a fresh start, and the actual state.
#pragma once

#include "client/view/explanation.h"

#include <string>
#include <vector>

namespace swctl {

// What happens to the VLAN's frames and to untagged frames at a port.
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
    std::vector<std::string> ports; // whose row names it, e.g. "port 1 of PSE"
    std::vector<SubInterfaceState> subs;
    std::vector<Difference> differs;
    std::vector<Finding> findings;
    std::vector<std::string> reasons;
    std::vector<std::string> unread;

    [[nodiscard]] bool asWanted() const { return exists && differs.empty() && unread.empty(); }
};

// `name` is an interface such as "eth0" or a VLAN sub-interface such as "eth0.20".
InterfaceExplanation explainInterface(const Inspection &inspection,
                                      const std::vector<Row> &portRows, const std::string &name);

} // namespace swctl
