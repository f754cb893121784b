// Ports of a switch and the per-port commands.
#pragma once

#include "model/configuration.h"
#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Creates, maps and lists a port and sends its trust mode. Returns 0; -1 if it cannot be
// created; else the negative result of the trust mode, after which the port stays.
[[nodiscard]] SWMGR_API int switchPortConfAdd(const SwitchPortCfg *cfg);

// Creates a port, mapped but not yet listed. Null on failure.
[[nodiscard]] SWMGR_API SwitchPort *switchPortCreate(const SwitchPortCfg *cfg);

// Does nothing: ports are never removed. Always returns 0.
SWMGR_API int switchPortDestroy(void);

// Looks up the record's port, which stays listed and configured. Returns 0, or -22 if there is
// no such port.
[[nodiscard]] SWMGR_API int switchPortDeinit(const SwitchPortCfg *cfg);

// Sends the trust mode of `port`, or of every port of `sw` if it is null. Returns 0 or the
// first negative result.
[[nodiscard]] SWMGR_API int switchPortCfgApply(Switch *sw, SwitchPort *port);

// Sends the trust mode of one port to its switch. Returns the backend's result.
[[nodiscard]] SWMGR_API int switchPortTrustModeConfigure(SwitchPort *port);

// Makes `sw` recompute the VLAN settings of `port`, or of every port if it is null. Returns the
// backend's result.
[[nodiscard]] SWMGR_API int switchPortVlanInfoConfigure(Switch *sw, SwitchPort *port);
}
