// Ports of a switch and the per-port commands.
#pragma once

#include "model/configuration.h"
#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Creates, maps and lists a port and sends its trust mode. 0; -1 when it cannot
// be created; a negative result of the trust mode, after which the port stays.
[[nodiscard]] SWMGR_API int switchPortConfAdd(const SwitchPortCfg *cfg);

// A new port, mapped but not yet listed, or none.
[[nodiscard]] SWMGR_API SwitchPort *switchPortCreate(const SwitchPortCfg *cfg);

// Does nothing: ports are never removed. Always 0.
SWMGR_API int switchPortDestroy(void);

// Looks the record's port up; it stays listed and configured. 0, or -22 when
// there is no such port.
[[nodiscard]] SWMGR_API int switchPortDeinit(const SwitchPortCfg *cfg);

// Sends the trust mode of `port`, or of every port of `sw` when none is given.
// 0 or the first negative result.
[[nodiscard]] SWMGR_API int switchPortCfgApply(Switch *sw, SwitchPort *port);

// Sends the trust mode of one port to its switch. The backend's result.
[[nodiscard]] SWMGR_API int switchPortTrustModeConfigure(SwitchPort *port);

// Has `sw` recompute the VLAN settings of `port`, or of every port when none is
// given. The backend's result.
[[nodiscard]] SWMGR_API int switchPortVlanInfoConfigure(Switch *sw, SwitchPort *port);
}
