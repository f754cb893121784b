// The chip's 802.1Q VLANs: the mode switch and the VLAN table, one entry per
// VLAN id with a forward map and an untag map.
#pragma once

#include "model/switch.h"
#include "model/vlan.h"
#include "swmgr/swmgr.h"

extern "C" {
// Turns 802.1Q mode off (0) or on (1). The driver's result; -1 for other states.
[[nodiscard]] SWMGR_API int bcmVlanEnable(int32_t state);

// Takes over the maps of `image` into the switch's VLAN of that id, and takes
// the ports that it sends untagged out of the other VLANs' untag maps. Changes
// memory only. 0; -22 for none.
[[nodiscard]] SWMGR_API int bcmVlanMembershipUpdate(Switch *sw, const SwitchVlan *image);

// Writes the table entry of `vlan`, or of every VLAN of `sw` when none is
// given. 0 or the first negative result.
[[nodiscard]] SWMGR_API int bcmVlanMembershipSet(Switch *sw, const SwitchVlan *vlan);

// Clears and writes one entry; the CPU port joins a forward map that is not
// empty. 0 or the driver's negative result.
[[nodiscard]] SWMGR_API int bcmVlanMembershipConfigure(uint16_t vlanId, uint32_t fwdMap,
                                                       uint32_t untagMap, int32_t cpuPort);

// Clears one entry. 0 or the driver's negative result.
[[nodiscard]] SWMGR_API int bcmVlanMembershipClear(uint16_t vlanId);

// The chip port through which a VLAN reaches the host: 4 on "eth0", else 0.
[[nodiscard]] SWMGR_API int bcmCPUPortNumberGet(const SwitchVlan *vlan);

// Whether a port is in an entry's map: 1, 0, or -1 when the driver cannot tell.
[[nodiscard]] SWMGR_API int bcmIsPortInVlanFwdMap(uint16_t port, uint16_t vlanId);
[[nodiscard]] SWMGR_API int bcmIsPortInVlanUntagMap(uint16_t port, uint16_t vlanId);
}
