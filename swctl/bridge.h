// VLANs of a bridge: as the lines of a rehearsed start would put them into the kernel,
// and as the kernel has them.
#pragma once

#include "swctl/holding.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace swctl {

struct Happening;

// How an interface takes part in a VLAN.
enum class Tagging {
    tagged,
    untagged,    // both ways: frames without a tag are the VLAN's
    untaggedOut, // sends it untagged, and takes untagged frames for another VLAN or none
    untaggedIn   // the other way round
};

using BridgeVlan = std::map<std::string, Tagging>; // by interface, the bridge's own included

struct Bridge {
    std::string name;            // empty: no switch is a bridge
    std::set<std::string> ports; // that joined
    std::map<int, BridgeVlan> vlans;
};

// What the lines about bridges among these would leave, on a machine without one.
Bridge bridgeOf(const std::vector<Happening> &happenings);

// What the kernel holds of the bridge and of its ports, by "bridge -j vlan show".
Part<Bridge> readBridge(const Bridge &wanted);

// "lan1 T, lan2 U, br0"; "-" for none. u and p: one half of U alone.
std::string bridgeText(const Bridge &bridge, int vlanId);

} // namespace swctl
