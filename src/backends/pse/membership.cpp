// The VLAN's maps refer to the switch below: a port of the engine carries the VLAN if one of
// the ports that it is mapped onto does.
#include "backends/pse/membership.h"

#include "backends/pse/mac_address.h"
#include "base/labels.h"
#include "base/log.h"
#include "base/tool.h"
#include "base/zone.h"
#include "model/port_mask.h"
#include "model/status.h"
#include "platform/list_of.h"

namespace {

constexpr int32_t cpuPort = 2;

// A VLAN as written to the engine's tables.
struct Membership {
    uint32_t mbMap;   // member ports; bit n is port n
    uint32_t etagMap; // ports that send it tagged, which is every member
    int32_t isWan;    // 1 if the interface is in the WAN zone
    char macAddr[macTextSize];
};

// The engine numbers the lower ports from 1: number n is bit n - 1.
bool carries(SwitchPort &port, uint32_t fwdMap)
{
    for (const SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(port.mappedList)) {
        const int32_t number = node.mapped->portNumber;
        if (number >= 1 && (fwdMap & portBit(number - 1)) != 0)
            return true;
    }
    return false;
}

int memberAdd(Membership &membership, const SwitchPort &port, const SwitchVlan &vlan,
              const char *func)
{
    LOG_AT(SWMGR_LOG_NONE, swVlanStrGet(&vlan), func, __LINE__, "Adding port(%d) to membership. \n",
           port.portNumber);
    const uint32_t bits = portBit(cpuPort) | portBit(port.portNumber);
    membership.mbMap |= bits;
    membership.etagMap |= bits;

    int32_t zone = zoneOther;
    static_cast<void>(swMgrZoneTypeGet(vlan.interfaceName, &zone)); // always succeeds
    membership.isWan = zone == zoneWan ? 1 : 0;
    const int status = switchMacAddressByIfNameGet(vlan.interfaceName, membership.macAddr);
    if (status < 0)
        LOG_AT(SWMGR_LOG_ERROR, swVlanStrGet(&vlan), func, __LINE__,
               "Failed to get the MAC address of %s\n", vlan.interfaceName);
    return status;
}

int arlEntryWrite(const Membership &membership, int32_t vlanId, const char *func)
{
    if (membership.mbMap == 0 && membership.etagMap == 0) {
        const int status = pseCpuARLTableEntryDelete(vlanId, membership.macAddr);
        if (status < 0)
            LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__,
                   "Failed to delete CPU ARL Entry for VLAN.\n");
        return status;
    }
    const int status = pseCpuARLTableEntryAdd(vlanId, membership.macAddr);
    if (status < 0)
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__, "Failed to add CPU ARL Entry for VLAN.\n");
    return status;
}

} // namespace

extern "C" int pseVlanMembershipSet(Switch *sw, const SwitchVlan *vlan)
{
    if (sw == nullptr || vlan == nullptr)
        return statusInvalid;
    Membership membership{};
    for (SwitchPort &port : ListOf<SwitchPort>(sw->portList)) {
        if (!carries(port, vlan->fwdMap))
            continue;
        const int status = memberAdd(membership, port, *vlan, __func__);
        if (status < 0)
            return status;
    }
    LOG_DEVELOPER(swVlanStrGet(vlan), "Configuration: etagMap %d, mbMap %d, isWan %d, macAddr %s\n",
                  static_cast<int>(membership.etagMap), static_cast<int>(membership.mbMap),
                  membership.isWan, membership.macAddr);
    int status =
        pseVlanMembershipConfigure(vlan->vlanIndex, membership.isWan, vlan->vlanId,
                                   membership.etagMap, membership.mbMap, membership.macAddr);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to configure PSE membership for VLAN.\n");
        return status;
    }
    status = arlEntryWrite(membership, vlan->vlanId, __func__);
    return status < 0 ? status : 0;
}

extern "C" int pseVlanMembershipConfigure(int32_t vlanIndex, int32_t isWan, int32_t vlanId,
                                          uint32_t etagMap, uint32_t mbMap, const char *macAddr)
{
    return TOOL_RUN_ON(macAddr, "%s %d %d 0x%x 0x%x %d %s 1", "vlan_table_func edit", vlanIndex,
                       isWan, etagMap, mbMap, vlanId, macAddr);
}

extern "C" int pseCpuARLTableEntryAdd(int32_t vlanId, const char *macAddr)
{
    return TOOL_RUN_ON(macAddr, "arl_table_func add %s %d 0x4 0x1", macAddr, vlanId);
}

extern "C" int pseCpuARLTableEntryDelete(int32_t vlanId, const char *macAddr)
{
    return TOOL_RUN_ON(macAddr, "arl_table_func del %s %d", macAddr, vlanId);
}
