// What happens to a frame at a port of a bridge.
#include "client/devices/bridge/bridge_device.h"

#include "client/base/port_mask.h"
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

// Why a frame at this port is dropped whatever its VLAN; empty: it is not.
std::string closed(const Bridge &bridge, const std::string &interface)
{
    if (!isPort(bridge, interface))
        return printable(interface) + " is not in bridge " + printable(bridge.name);
    for (const std::string &name : {interface, bridge.name})
        if (!isUp(bridge, name))
            return printable(name) + " is down";
    return {};
}

// Adds the egress ports of a frame that entered its VLAN at `from`.
void leave(const Bridge &bridge, const std::vector<DevicePort> &ports, const std::string &from,
           FrameFate &fate)
{
    const auto members = bridge.vlans.find(fate.vlanId);
    for (const auto &[name, tagging] : members->second) {
        if (name == from || !isUp(bridge, name))
            continue;
        fate.host = fate.host || name == bridge.name;
        for (const DevicePort &port : ports)
            if (port.interfaceName == name) {
                fate.to |= portBit(port.number);
                fate.bare |= sendsUntagged(tagging) ? portBit(port.number) : 0;
            }
    }
    const auto others = bridge.foreign.find(fate.vlanId);
    if (others != bridge.foreign.end())
        for (const auto &[name, tagging] : others->second)
            if (isUp(bridge, name))
                fate.others.push_back(name);
}

FrameFate fateOf(const Bridge &bridge, const PortQuestion &question, int vlanId)
{
    const DevicePort &port = question.port;
    FrameFate fate;
    fate.vlanId = vlanId;
    const auto members = bridge.vlans.find(vlanId);
    if (!bridge.filtering.value_or(false))
        fate.unknown = "VLAN filtering is off, so tags are ignored";
    else if (fate.dropped = closed(bridge, port.interfaceName); !fate.dropped.empty())
        return fate;
    else if (vlanId == 0)
        fate.dropped = "the port is untagged in no VLAN";
    else if (members == bridge.vlans.end())
        fate.dropped = vlanText(vlanId) + " does not exist";
    else if (!members->second.contains(port.interfaceName))
        fate.dropped =
            "port " + std::to_string(port.number) + " is not a member of " + vlanText(vlanId);
    if (!fate.unknown.empty() || !fate.dropped.empty())
        return fate;
    leave(bridge, question.ports, port.interfaceName, fate);
    if (fate.to == 0 && fate.others.empty() && !fate.host)
        fate.dropped = vlanText(vlanId) + " has no other port to forward to";
    return fate;
}

// The port's membership in the VLAN; null if none.
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

PortAnswer explainBridgePort(const PortQuestion &question)
{
    const std::string &interface = question.port.interfaceName;
    const auto *held = static_cast<const BridgeState *>(question.actual.held.get());
    const Bridge &wanted = static_cast<const BridgeState &>(question.wanted).bridge;
    const Bridge &judged = held != nullptr ? held->bridge : wanted;
    PortAnswer all;
    all.basis = held != nullptr ? "the state read from the kernel"
                                : "a fresh start, because the kernel could not be read";
    all.read = held != nullptr;
    all.wanted = partOf(wanted, question.vlanId, interface);
    all.held = held != nullptr ? partOf(judged, question.vlanId, interface)
                               : "not read: " + question.actual.reason;
    const int untagged = untaggedVlan(judged, interface);
    all.tagged = fateOf(judged, question, question.vlanId);
    all.untagged = fateOf(judged, question, untagged);
    if (const Tagging *part = partIn(judged, question.vlanId, interface);
        part != nullptr && closed(judged, interface).empty())
        all.sends = sendsUntagged(*part) ? "untagged" : "tagged";
    const std::set<int> concerned{question.vlanId, untagged, untaggedVlan(wanted, interface)};
    for (const Difference &difference : question.differences)
        if (difference.kind != DifferenceKind::link
                ? concerned.contains(difference.vlanId) ||
                      difference.isSettingOf(bridgePart, question.port.number)
                : difference.parent == interface || difference.parent == wanted.name)
            all.differs.push_back(difference);
    if (partIn(wanted, question.vlanId, interface) == nullptr)
        all.remedyInterface = printable(wanted.name);
    return all;
}

} // namespace swctl
