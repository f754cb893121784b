// Programs the chip's VLAN table. An entry is always cleared before it is written.
#include "backends/bcm/vlan.h"

#include "backends/bcm/device.h"
#include "base/labels.h"
#include "base/log.h"
#include "base/zone.h"
#include "model/port_mask.h"
#include "model/status.h"
#include "platform/list_of.h"

namespace {

constexpr int32_t cpuPortInSwitch = 0;
constexpr int32_t cpuPortLan = 4;
constexpr int32_t cpuPortOther = 0;

int membershipConfigure(const SwitchVlan &vlan, const char *func)
{
    const int32_t cpuPort = vlan.inSwitchOnly != 0 ? cpuPortInSwitch : bcmCPUPortNumberGet(&vlan);
    const int status = bcmVlanMembershipConfigure(static_cast<uint16_t>(vlan.vlanId), vlan.fwdMap,
                                                  vlan.untagMap, cpuPort);
    if (status < 0)
        LOG_AT(SWMGR_LOG_ERROR, swVlanStrGet(&vlan), func, __LINE__,
               "Failed to configure membership for vlan%d\n", vlan.vlanId);
    return status;
}

int membershipQuery(BcmRequest request, uint16_t port, uint16_t vlanId)
{
    BcmVlanPortRecord record{};
    record.vlanId = vlanId;
    record.port = port;
    const int result = driverRequest(request, record);
    return result == 0 || result == 1 ? result : statusFailed;
}

} // namespace

extern "C" int bcmVlanEnable(int32_t state)
{
    LOG_INFO(noLabel, "VLAN Enable status %d\n", state);
    switch (state) {
    case 0:
        return driverRequest(BCM_IOC_VLAN_DISABLE, intptr_t{0});
    case 1:
        return driverRequest(BCM_IOC_VLAN_ENABLE, intptr_t{0});
    default:
        return statusFailed;
    }
}

extern "C" int bcmVlanMembershipUpdate(Switch *sw, const SwitchVlan *image)
{
    if (sw == nullptr || image == nullptr)
        return statusInvalid;
    const int32_t vlanId = image->vlanId;
    const uint32_t fwdMap = image->fwdMap;
    const uint32_t untagMap = image->untagMap;
    // A port is untagged in only one VLAN. Bits beyond the chip's ports survive in other VLANs
    // only if the image has them, too.
    const uint32_t kept = untagMap ^ bcmEveryPort;
    for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw->vlanList)) {
        if (vlan.vlanId == vlanId) {
            vlan.untagMap = untagMap;
            vlan.fwdMap = fwdMap;
        } else if ((vlan.untagMap & ~kept) != 0) {
            vlan.untagMap &= kept;
        }
    }
    return 0;
}

extern "C" int bcmVlanMembershipSet(Switch *sw, const SwitchVlan *vlan)
{
    if (vlan != nullptr) {
        const int status = membershipConfigure(*vlan, __func__);
        return status < 0 ? status : 0;
    }
    if (sw == nullptr)
        return statusInvalid;
    for (const SwitchVlan &listed : ListOf<SwitchVlan>(sw->vlanList)) {
        const int status = membershipConfigure(listed, __func__);
        if (status < 0)
            return status;
    }
    return 0;
}

extern "C" int bcmVlanMembershipConfigure(uint16_t vlanId, uint32_t fwdMap, uint32_t untagMap,
                                          int32_t cpuPort)
{
    LOG_DEVELOPER(noLabel, "Clearing VLAN Membership %d\n", vlanId);
    static_cast<void>(bcmVlanMembershipClear(vlanId)); // on failure the write fails, too
    if (fwdMap != 0)
        fwdMap |= portBit(cpuPort);
    LOG_NOTICE(noLabel, "Modifying untag value to %d and fwdMap to %d for vlanid: %d \n",
               static_cast<int>(untagMap), static_cast<int>(fwdMap), vlanId);
    BcmVlanEntryRecord record{};
    record.vlanId = vlanId;
    record.fwdMap = static_cast<uint16_t>(fwdMap);
    record.untagMap = static_cast<uint16_t>(untagMap);
    const int status = driverRequest(BCM_IOC_VLAN_ENTRY_SET, record);
    if (status < 0) {
        LOG_ERROR(noLabel, "ERROR#%d adding 802.1Q VLAN entry\n", status);
        return status;
    }
    return 0;
}

extern "C" int bcmVlanMembershipClear(uint16_t vlanId)
{
    BcmVlanPortRecord record{};
    record.vlanId = vlanId;
    const int status = driverRequest(BCM_IOC_VLAN_CLEAR, record);
    if (status < 0) {
        LOG_ERROR(noLabel, "ERROR#%d clearing 802.1Q VLAN #%u\n", status, vlanId);
        return status;
    }
    return 0;
}

extern "C" int bcmCPUPortNumberGet(const SwitchVlan *vlan)
{
    int32_t zone = zoneOther;
    if (vlan != nullptr)
        static_cast<void>(swMgrZoneTypeGet(vlan->interfaceName, &zone)); // always succeeds
    return zone == zoneLan ? cpuPortLan : cpuPortOther;
}

extern "C" int bcmIsPortInVlanFwdMap(uint16_t port, uint16_t vlanId)
{
    return membershipQuery(BCM_IOC_VLAN_FWD_MEMBER_GET, port, vlanId);
}

extern "C" int bcmIsPortInVlanUntagMap(uint16_t port, uint16_t vlanId)
{
    return membershipQuery(BCM_IOC_VLAN_UNTAG_MEMBER_GET, port, vlanId);
}
