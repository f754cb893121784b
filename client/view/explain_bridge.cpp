#include "client/view/explain_bridge.h"

#include "client/base/text.h"

#include <set>

namespace swctl {
namespace {

bool isUp(const Bridge &bridge, const std::string &interface)
{
    const auto found = bridge.links.find(interface);
    return found != bridge.links.end() && found->second.up;
}

bool isPort(const Bridge &bridge, const std::string &interface)
{
    const auto found = bridge.links.find(interface);
    return found != bridge.links.end() && found->second.master == bridge.name;
}

// Why a frame at this port goes nowhere, whatever its VLAN; empty: it may go on.
std::string closed(const Bridge &bridge, const std::string &interface)
{
    if (!isPort(bridge, interface))
        return printable(interface) + " is not in bridge " + printable(bridge.name);
    for (const std::string &name : {interface, bridge.name})
        if (!isUp(bridge, name))
            return printable(name) + " is down";
    return {};
}

// Where a frame leaves that got into its VLAN at `from`.
void leave(const Bridge &bridge, const SwitchConfig &sw, const std::string &from, FrameFate &fate)
{
    const auto members = bridge.vlans.find(fate.vlanId);
    for (const auto &[name, tagging] : members->second) {
        if (name == from || !isUp(bridge, name))
            continue;
        fate.host = fate.host || name == bridge.name;
        for (const PortConfig &port : sw.ports)
            if (port.interfaceName == name && port.number >= 0 && port.number < 32) {
                fate.to |= 1u << port.number;
                fate.bare |= sendsUntagged(tagging) ? 1u << port.number : 0;
            }
    }
    const auto others = bridge.foreign.find(fate.vlanId);
    if (others != bridge.foreign.end())
        for (const auto &[name, tagging] : others->second)
            if (isUp(bridge, name))
                fate.others.push_back(name);
}

FrameFate fateOf(const Bridge &bridge, const SwitchConfig &sw, const PortConfig &port, int vlanId)
{
    FrameFate fate;
    fate.vlanId = vlanId;
    const auto members = bridge.vlans.find(vlanId);
    if (!bridge.filtering.value_or(false))
        fate.unknown = "VLAN filtering is off: tags are not looked at";
    else if (fate.dropped = closed(bridge, port.interfaceName); !fate.dropped.empty())
        return fate;
    else if (vlanId == 0)
        fate.dropped = "the port is untagged in no VLAN";
    else if (members == bridge.vlans.end())
        fate.dropped = "there is no " + vlanText(vlanId);
    else if (!members->second.contains(port.interfaceName))
        fate.dropped =
            "port " + std::to_string(port.number) + " is no member of " + vlanText(vlanId);
    if (!fate.unknown.empty() || !fate.dropped.empty())
        return fate;
    leave(bridge, sw, port.interfaceName, fate);
    if (fate.to == 0 && fate.others.empty() && !fate.host)
        fate.dropped = vlanText(vlanId) + " has no other port that it may go to";
    return fate;
}

// The port's part in the VLAN; null: none.
const Tagging *partIn(const Bridge &bridge, int vlanId, const std::string &interface)
{
    const auto members = bridge.vlans.find(vlanId);
    if (members == bridge.vlans.end())
        return nullptr;
    const auto found = members->second.find(interface);
    return found != members->second.end() ? &found->second : nullptr;
}

std::string partOf(const Bridge &bridge, int vlanId, const std::string &interface)
{
    const Tagging *part = partIn(bridge, vlanId, interface);
    return partText(part != nullptr, part != nullptr && sendsUntagged(*part));
}

} // namespace

bool explainBridgePort(const Inspection &inspection, PortExplanation &all)
{
    SwitchConfig owner;
    for (const SwitchConfig &sw : inspection.network.switches)
        if (sw.name == all.port.switchName)
            owner = sw;
    PortConfig port;
    port.number = all.port.number;
    for (const PortConfig &row : owner.ports)
        if (row.number == port.number)
            port = row;
    const Part<Bridge> &held = inspection.actual.bridge;
    const Bridge &wanted = inspection.target.bridge;
    const Bridge &judged = held.held ? *held.held : wanted;
    all.basis =
        held.held ? "what the kernel holds" : "a fresh start, since the kernel was not read";
    all.read = held.held.has_value();
    all.wanted = partOf(wanted, all.vlanId, port.interfaceName);
    all.held =
        held.held ? partOf(judged, all.vlanId, port.interfaceName) : "not read: " + held.reason;
    const int untagged = untaggedVlan(judged, port.interfaceName);
    all.tagged = fateOf(judged, owner, port, all.vlanId);
    all.untagged = fateOf(judged, owner, port, untagged);
    if (const Tagging *part = partIn(judged, all.vlanId, port.interfaceName);
        part != nullptr && closed(judged, port.interfaceName).empty())
        all.sends = sendsUntagged(*part) ? "without tag" : "tagged";
    const std::set<int> concerned{all.vlanId, untagged, untaggedVlan(wanted, port.interfaceName)};
    for (const Difference &difference : inspection.differences)
        if (difference.kind != DifferenceKind::bridgeLink
                ? concerned.contains(difference.vlanId)
                : difference.parent == port.interfaceName || difference.parent == wanted.name)
            all.differs.push_back(difference);
    return partIn(wanted, all.vlanId, port.interfaceName) != nullptr;
}

} // namespace swctl
