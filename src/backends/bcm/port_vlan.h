// The chip's port-based VLANs: for each port, the ports it may forward to. No
// command reaches these operations.
#pragma once

#include "model/switch.h"
#include "model/vlan.h"
#include "swmgr/swmgr.h"

extern "C" {
// Gives a port its default forward map: every port for ports 0 to 3, port 0
// alone for any other. 0 or the first negative result of a change.
[[nodiscard]] SWMGR_API int bcmDefPortVlanConfig(int32_t port);

// Empties a port's forward map; a failed removal is logged and passed over.
// Always 0.
SWMGR_API int bcmPortVlanReset(int32_t port);

// Lets each port of the VLAN's forward map forward to the map and its uplink
// alone. 0 or the first negative result. `sw` plays no part.
[[nodiscard]] SWMGR_API int bcmPortVlanConfig(Switch *sw, const SwitchVlan *vlan);

// Takes those away again and restores the default maps. 0 or the first negative
// result. `sw` plays no part.
[[nodiscard]] SWMGR_API int bcmPortVlanDeConfig(Switch *sw, const SwitchVlan *vlan);
}
