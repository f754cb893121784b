// VLANs in the engine: its VLAN table, and one address-table (ARL) entry per VLAN that sends
// the gateway's own frames to the engine's CPU port.
#pragma once

#include "model/switch.h"
#include "model/vlan.h"
#include "swmgr/swmgr.h"

extern "C" {
// Derives the engine's member ports from the VLAN's forward map and writes both tables. Returns
// 0; -22 for null; else the negative result of the failed step.
[[nodiscard]] SWMGR_API int pseVlanMembershipSet(Switch *sw, const SwitchVlan *vlan);

// Writes an entry of the VLAN table. Returns the tool's status.
[[nodiscard]] SWMGR_API int pseVlanMembershipConfigure(int32_t vlanIndex, int32_t isWan,
                                                       int32_t vlanId, uint32_t etagMap,
                                                       uint32_t mbMap, const char *macAddr);

// Add and delete the CPU port's address-table entry. Return the tool's status.
[[nodiscard]] SWMGR_API int pseCpuARLTableEntryAdd(int32_t vlanId, const char *macAddr);
[[nodiscard]] SWMGR_API int pseCpuARLTableEntryDelete(int32_t vlanId, const char *macAddr);
}
