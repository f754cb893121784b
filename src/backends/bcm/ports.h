// How the chip's ports handle untagged frames, derived from the VLANs: the default tag (PVID)
// and the non-802.1Q frames state.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Recomputes every port of `sw` from the untag maps, and writes `port`, or every port if it is
// null. Returns 0 or the first negative result.
[[nodiscard]] SWMGR_API int bcmSwitchPortConfigure(Switch *sw, const SwitchPort *port);

// Writes a port's default tag with priority and CFI 0. Returns 0 or the driver's negative
// result.
[[nodiscard]] SWMGR_API int bcmSwitchPortPVIDSet(uint16_t port, uint16_t vid);

// Writes a port's non-802.1Q frames state. Returns the driver's result.
[[nodiscard]] SWMGR_API int bcmNon8021qFramesStateChange(uint16_t port, uint32_t state);
}
