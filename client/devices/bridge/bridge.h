// The VLANs of a bridge: as a rehearsed start would configure them, and as the kernel has
// them.
#pragma once

#include "client/rehearse/hardware_state.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace swctl {

struct Event;

// An interface's membership in a VLAN.
enum class Tagging {
    tagged,
    untagged,    // in both directions
    untaggedOut, // on egress only: received untagged frames belong to another VLAN or none
    untaggedIn   // on ingress only
};

using BridgeVlan = std::map<std::string, Tagging>; // by interface, including the bridge itself

// An interface that is the bridge or might be one of its ports.
struct BridgeLink {
    std::string master; // bridge that it is a port of; empty: none
    bool up = false;    // administratively, whatever the carrier
};

struct Bridge {
    std::string name;                        // empty: no switch is a bridge
    std::optional<bool> filtering, snooping; // VLAN filtering, multicast snooping; none: unknown
    std::map<std::string, BridgeLink> links; // by interface, including the bridge itself
    std::map<int, BridgeVlan> vlans;
    std::map<int, BridgeVlan> foreign; // VLANs of ports that no row names
};

// The bridge that the commands among these events would create on a machine without one.
Bridge bridgeOf(const std::vector<Event> &events);

// The kernel's state of the bridge of that name and of these interfaces, read with
// "ip -j -d link show" and "bridge -j vlan show".
Part<Bridge> readBridge(const std::string &name, const std::set<std::string> &ports);

// Whether this kernel's bridges support VLAN filtering, judged by an existing bridge or else
// by the kernel's configuration; none if neither is available.
std::optional<bool> bridgesFilter();

constexpr bool sendsUntagged(Tagging tagging)
{
    return tagging == Tagging::untagged || tagging == Tagging::untaggedOut;
}

// The VLAN of untagged frames received there; 0: they are dropped.
int untaggedVlan(const Bridge &bridge, const std::string &interface);

// "lan1 T, lan2 U, br0"; "-" for none. u: untagged on egress only, p: on ingress only (PVID).
std::string bridgeText(const Bridge &bridge, int vlanId);

// "in br0, up"; for the bridge itself "VLAN filtering on, up"; noLink if it does not exist.
constexpr const char *noLink = "missing";
std::string linkText(const Bridge &bridge, const std::string &interface);

} // namespace swctl
