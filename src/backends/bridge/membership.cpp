// The kernel has one VLAN per port for untagged frames, so one command moves it.
#include "backends/bridge/membership.h"

#include "backends/bridge/lines.h"
#include "backends/bridge/ports.h"
#include "base/labels.h"
#include "base/log.h"
#include "model/port_mask.h"
#include "model/status.h"
#include "model/vlan.h"
#include "platform/list_of.h"

namespace {

bool idIsGood(const SwitchVlan &vlan, const char *func)
{
    if (vlan.vlanId >= 1 && vlan.vlanId <= highestVlan)
        return true;
    LOG_AT(SWMGR_LOG_ERROR, swVlanStrGet(&vlan), func, __LINE__, "There is no VLAN %d\n",
           vlan.vlanId);
    return false;
}

uint32_t portsOf(Switch &sw)
{
    uint32_t ports = 0;
    for (const SwitchPort &port : ListOf<SwitchPort>(sw.portList))
        ports |= portBit(port.portNumber);
    return ports;
}

// Makes these ports send the VLAN tagged from now on.
int tagAtPorts(Switch &sw, int32_t vlanId, uint32_t ports, const char *func)
{
    HeldVlan &held = heldVlan(vlanId);
    for (const SwitchPort &port : ListOf<SwitchPort>(sw.portList)) {
        const uint32_t bit = portBit(port.portNumber) & ports & held.untagged;
        if (bit == 0)
            continue;
        const BridgePort member(port, func);
        if (member.status() < 0)
            return member.status();
        if (portVlanAdd(member.name(), vlanId, /*untagged=*/false, func) < 0)
            return statusFailed;
        held.untagged &= ~bit;
    }
    return 0;
}

int portSet(const SwitchPort &port, const SwitchVlan &vlan, HeldVlan &held, const char *func)
{
    const uint32_t bit = portBit(port.portNumber);
    const bool member = (vlan.fwdMap & bit) != 0;
    const bool untagged = (vlan.fwdMap & vlan.untagMap & bit) != 0;
    const bool was = (held.members & bit) != 0;
    const bool same = was == member && ((held.untagged & bit) != 0) == untagged;
    if (bit == 0 || (same && held.known))
        return 0;
    const BridgePort place(port, func);
    if (place.status() < 0) // a port outside the bridge has nothing to remove
        return member ? place.status() : 0;
    const int status = member ? portVlanAdd(place.name(), vlan.vlanId, untagged, func)
                              : portVlanDelete(place.name(), vlan.vlanId, func);
    if (status < 0)
        return status;
    held.members = member ? held.members | bit : held.members & ~bit;
    held.untagged = untagged ? held.untagged | bit : held.untagged & ~bit;
    return 0;
}

int selfSet(const SwitchVlan &vlan, HeldVlan &held, const char *func)
{
    const bool member = vlan.fwdMap != 0 && vlan.inSwitchOnly == 0;
    if (member == held.self && held.known)
        return 0;
    const int status = bridgeSelfSet(bridgeName(), vlan.vlanId, member, func);
    if (status == 0)
        held.self = member;
    return status;
}

} // namespace

int bridgeMembershipUpdate(Switch &sw, const SwitchVlan &image)
{
    // Copied because the image may be one of these VLANs.
    const int32_t vlanId = image.vlanId;
    const uint32_t fwdMap = image.fwdMap;
    const uint32_t untagMap = image.untagMap;
    for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw.vlanList)) {
        if (vlan.vlanId != vlanId)
            continue;
        vlan.fwdMap = fwdMap;
        vlan.untagMap = untagMap;
    }
    for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw.vlanList)) {
        if (vlan.vlanId == vlanId || (vlan.untagMap & untagMap) == 0)
            continue;
        const int status = tagAtPorts(sw, vlan.vlanId, untagMap, __func__);
        if (status < 0)
            return status;
        vlan.untagMap &= ~untagMap;
    }
    return 0;
}

int bridgeMembershipSet(Switch &sw, const SwitchVlan &vlan)
{
    if (!idIsGood(vlan, __func__))
        return statusInvalid;
    const uint32_t strangers = vlan.fwdMap & ~portsOf(sw);
    if (strangers != 0) {
        LOG_ERROR(swVlanStrGet(&vlan), "There are no ports 0x%x\n", strangers);
        return statusInvalid;
    }
    HeldVlan &held = heldVlan(vlan.vlanId);
    for (const SwitchPort &port : ListOf<SwitchPort>(sw.portList)) {
        const int status = portSet(port, vlan, held, __func__);
        if (status < 0)
            return status;
    }
    const int status = selfSet(vlan, held, __func__);
    held.known = held.known || status == 0;
    return status;
}
