// The chip's port-based VLANs: for each port, the ports it may forward to. No command uses
// these operations.
#pragma once

#include "model/switch.h"
#include "model/vlan.h"
#include "swmgr/swmgr.h"

extern "C" {
// Gives a port its default forward map: every port for ports 0 to 3, only port 0 for any other.
// Returns 0 or the first negative result of a change.
[[nodiscard]] SWMGR_API int bcmDefPortVlanConfig(int32_t port);

// Empties a port's forward map; a failed removal is logged and skipped. Always returns 0.
SWMGR_API int bcmPortVlanReset(int32_t port);

// Lets each port in the VLAN's forward map forward only to that map and the port's uplink.
// Returns 0 or the first negative result. `sw` is ignored.
[[nodiscard]] SWMGR_API int bcmPortVlanConfig(Switch *sw, const SwitchVlan *vlan);

// Undoes bcmPortVlanConfig and restores the default maps. Returns 0 or the first negative
// result. `sw` is ignored.
[[nodiscard]] SWMGR_API int bcmPortVlanDeConfig(Switch *sw, const SwitchVlan *vlan);
}
