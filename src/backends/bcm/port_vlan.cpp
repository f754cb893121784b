// Edits the ports' forward maps, one member per request.
#include "backends/bcm/port_vlan.h"

#include "backends/bcm/device.h"
#include "base/log.h"
#include "model/port_mask.h"
#include "model/status.h"

namespace {

constexpr int32_t uplinkOfLan = 4; // for ports 0 to 3
constexpr int32_t uplinkOfRest = 0;
constexpr uint32_t uplinkOnly = portBit(uplinkOfRest);

bool isLanPort(int32_t port)
{
    return port >= 0 && port < uplinkOfLan;
}

uint32_t withUplink(uint32_t map, int32_t port)
{
    return map | portBit(isLanPort(port) ? uplinkOfLan : uplinkOfRest);
}

int memberRequest(BcmRequest request, int32_t port, int32_t member)
{
    BcmPortVlanRecord record{};
    record.port = static_cast<uint16_t>(port);
    record.memberPort = static_cast<uint16_t>(member);
    return driverRequest(request, record);
}

bool isMember(int32_t port, int32_t member)
{
    return memberRequest(BCM_IOC_PORT_VLAN_MEMBER_GET, port, member) != 0;
}

// Applies a request to every member of a map, lowest first, and stops at the first failure.
int membersRequest(BcmRequest request, int32_t port, uint32_t members)
{
    for (const int32_t member : PortsOf{members}) {
        const int status = memberRequest(request, port, member);
        if (status < 0)
            return status;
    }
    return 0;
}

} // namespace

extern "C" int bcmDefPortVlanConfig(int32_t port)
{
    const uint32_t wanted = isLanPort(port) ? bcmEveryPort : uplinkOnly;
    LOG_INFO(noLabel, "configuring default port VLAN #%u: [FWD %x]\n", static_cast<unsigned>(port),
             wanted);
    // Both default maps are contiguous from port 0, so nothing needs removing below their
    // highest port; members above it are left alone.
    for (const int32_t member : PortsOf{wanted}) {
        if (isMember(port, member))
            continue;
        const int status = memberRequest(BCM_IOC_PORT_VLAN_MEMBER_ADD, port, member);
        if (status < 0) {
            LOG_ERROR(noLabel, "ERROR#%d adding Port %d in forward map of port:%d\n", status,
                      member, port);
            return status;
        }
    }
    return 0;
}

extern "C" int bcmPortVlanReset(int32_t port)
{
    LOG_INFO(noLabel, "Resetting port VLAN for #%u\n", static_cast<unsigned>(port));
    for (int32_t member = 0; member < bcmPortCount; ++member) {
        if (!isMember(port, member))
            continue;
        const int status = memberRequest(BCM_IOC_PORT_VLAN_MEMBER_DEL, port, member);
        if (status < 0)
            LOG_ERROR(noLabel, "ERROR#%d deleting Port %d in forward map of port:%d\n", status,
                      member, port);
    }
    return 0;
}

extern "C" int bcmPortVlanConfig(Switch *, const SwitchVlan *vlan)
{
    if (vlan == nullptr)
        return statusInvalid;
    for (const int32_t port : PortsOf{vlan->fwdMap}) {
        static_cast<void>(bcmPortVlanReset(port)); // always succeeds
        const uint32_t members = withUplink(vlan->fwdMap, port);
        LOG_INFO(noLabel, "configuring Port VLAN #%u: [PMAP:%x FWD %x]\n",
                 static_cast<unsigned>(port), members, vlan->fwdMap);
        const int status = membersRequest(BCM_IOC_PORT_VLAN_MEMBER_ADD, port, members);
        if (status < 0) {
            LOG_ERROR(noLabel, "ERROR#%d configuring Port VLAN #%u: [FWD %x]\n", status,
                      static_cast<unsigned>(port), members);
            return status;
        }
    }
    return 0;
}

extern "C" int bcmPortVlanDeConfig(Switch *, const SwitchVlan *vlan)
{
    if (vlan == nullptr)
        return statusInvalid;
    for (const int32_t port : PortsOf{vlan->fwdMap}) {
        const uint32_t members = withUplink(vlan->fwdMap, port);
        LOG_INFO(noLabel, "De-configuring Port VLAN #%u: [PMAP:%x FWD %x]\n",
                 static_cast<unsigned>(port), members, vlan->fwdMap);
        const int status = membersRequest(BCM_IOC_PORT_VLAN_MEMBER_DEL, port, members);
        if (status < 0) {
            LOG_ERROR(noLabel, "ERROR#%d de-configuring Port VLAN #%u: [FWD %x]\n", status,
                      static_cast<unsigned>(port), members);
            return status;
        }
        static_cast<void>(bcmDefPortVlanConfig(port)); // failures are logged there
    }
    return 0;
}
