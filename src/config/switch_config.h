// Creating a working switch from a configuration record, and taking it down.
#pragma once

#include "model/configuration.h"
#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Creates, binds, sets up and lists a switch. Returns 0; -22 if it cannot be created; else the
// negative result of the failed step, after which the switch is not listed.
[[nodiscard]] SWMGR_API int switchConfAdd(const SwitchGlobalCfg *cfg);

// Sends the switch-wide settings. Returns 0, or -1 at the first that is refused.
[[nodiscard]] SWMGR_API int switchInitialCfgApply(Switch *sw);

// Sends everything again: settings, ports, VLANs. Returns 0 or the first negative result.
[[nodiscard]] SWMGR_API int switchCfgApply(Switch *sw);

// Disables the VLANs of `sw`, or of the top-level switch if it is null. Returns 0, or -1 if
// there is no such switch.
[[nodiscard]] SWMGR_API int switchCfgDisable(Switch *sw);

// Detaches a listed switch from its backend; it stays listed. Returns 0; -22 if no switch has
// that name.
[[nodiscard]] SWMGR_API int switchDeinit(const char *name);
}
