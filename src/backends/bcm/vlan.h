// The chip's 802.1Q VLANs: the mode switch, and the VLAN table with a forward map and an untag
// map per VLAN id.
#pragma once

#include "model/switch.h"
#include "model/vlan.h"
#include "swmgr/swmgr.h"

extern "C" {
// Turns 802.1Q mode off (0) or on (1). Returns the driver's result; -1 for another state.
[[nodiscard]] SWMGR_API int bcmVlanEnable(int32_t state);

// Copies the maps of `image` to the switch's VLAN with the same id, and removes the image's
// untagged ports from the untag maps of all other VLANs. Changes memory only. Returns 0; -22
// for a null argument.
[[nodiscard]] SWMGR_API int bcmVlanMembershipUpdate(Switch *sw, const SwitchVlan *image);

// Writes the table entry of `vlan`, or of every VLAN of `sw` if it is null. Returns 0 or the
// first negative result.
[[nodiscard]] SWMGR_API int bcmVlanMembershipSet(Switch *sw, const SwitchVlan *vlan);

// Clears and writes one entry; a forward map that is not empty gets the CPU port added. Returns
// 0 or the driver's negative result.
[[nodiscard]] SWMGR_API int bcmVlanMembershipConfigure(uint16_t vlanId, uint32_t fwdMap,
                                                       uint32_t untagMap, int32_t cpuPort);

// Clears one entry. Returns 0 or the driver's negative result.
[[nodiscard]] SWMGR_API int bcmVlanMembershipClear(uint16_t vlanId);

// The chip port that connects a VLAN to the host: 4 on "eth0", else 0.
[[nodiscard]] SWMGR_API int bcmCPUPortNumberGet(const SwitchVlan *vlan);

// Whether a port is in an entry's map: 1, 0, or -1 if the driver cannot report it.
[[nodiscard]] SWMGR_API int bcmIsPortInVlanFwdMap(uint16_t port, uint16_t vlanId);
[[nodiscard]] SWMGR_API int bcmIsPortInVlanUntagMap(uint16_t port, uint16_t vlanId);
}
