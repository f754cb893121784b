// VLANs of a bridge: as the lines of a rehearsed start would put them into the kernel,
// and as the kernel has them.
#pragma once

#include "client/rehearse/hardware_state.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace swctl {

struct Event;

// How an interface takes part in a VLAN.
enum class Tagging {
    tagged,
    untagged,    // both ways: frames without a tag are the VLAN's
    untaggedOut, // sends it untagged, and takes untagged frames for another VLAN or none
    untaggedIn   // the other way round
};

using BridgeVlan = std::map<std::string, Tagging>; // by interface, the bridge's own included

// An interface that is the bridge or might be one of its ports.
struct BridgeLink {
    std::string master; // bridge that it is a port of; empty: none
    bool up = false;    // set up; whether a cable is in it does not matter
};

struct Bridge {
    std::string name;                        // empty: no switch is a bridge
    std::optional<bool> filtering, snooping; // of VLANs, of multicast; none: nothing says so
    std::map<std::string, BridgeLink> links; // by interface, the bridge's own included
    std::map<int, BridgeVlan> vlans;
    std::map<int, BridgeVlan> foreign; // of ports that no row names
};

// What the lines about bridges among these would leave, on a machine without one.
Bridge bridgeOf(const std::vector<Event> &events);

// What the kernel holds of the bridge of that name and of these interfaces, by
// "ip -j -d link" and "bridge -j vlan show".
Part<Bridge> readBridge(const std::string &name, const std::set<std::string> &ports);

// Whether bridges of this kernel can keep VLANs apart: by a bridge that is there, or by
// the kernel's configuration; none where neither tells.
std::optional<bool> bridgesFilter();

constexpr bool sendsUntagged(Tagging tagging)
{
    return tagging == Tagging::untagged || tagging == Tagging::untaggedOut;
}

// The VLAN of frames that arrive there without a tag; 0: they are dropped.
int untaggedVlan(const Bridge &bridge, const std::string &interface);

// "lan1 T, lan2 U, br0"; "-" for none. u and p: one half of U alone.
std::string bridgeText(const Bridge &bridge, int vlanId);

// "in br0, up"; of the bridge itself "VLAN filtering on, up"; noLink where there is none.
constexpr const char *noLink = "not there";
std::string linkText(const Bridge &bridge, const std::string &interface);

} // namespace swctl
