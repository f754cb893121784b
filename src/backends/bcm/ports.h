// What the chip's ports do with untagged frames, derived from the VLANs: the
// default tag (PVID) and the non-802.1Q frames state.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Recomputes every port of `sw` from the untag maps and writes `port`, or every
// port when none is given. 0 or the first negative result.
[[nodiscard]] SWMGR_API int bcmSwitchPortConfigure(Switch *sw, const SwitchPort *port);

// Writes a port's default tag, priority and CFI 0. 0 or the driver's negative result.
[[nodiscard]] SWMGR_API int bcmSwitchPortPVIDSet(uint16_t port, uint16_t vid);

// Writes a port's non-802.1Q frames state. The driver's result.
[[nodiscard]] SWMGR_API int bcmNon8021qFramesStateChange(uint16_t port, uint32_t state);
}
