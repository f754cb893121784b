// From a configuration record to a working switch, and back.
#pragma once

#include "model/configuration.h"
#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Creates, binds, sets up and lists a switch. 0; -22 when it cannot be created;
// else the negative result of the step that failed, after which the switch is
// not listed.
[[nodiscard]] SWMGR_API int switchConfAdd(const SwitchGlobalCfg *cfg);

// Sends the switch-wide settings. 0, or -1 at the first that is refused.
[[nodiscard]] SWMGR_API int switchInitialCfgApply(Switch *sw);

// Sends everything again: settings, ports, VLANs. 0 or the first negative result.
[[nodiscard]] SWMGR_API int switchCfgApply(Switch *sw);

// Takes the VLANs of `sw` down; none stands for the top-level switch. 0, or -1
// when there is no such switch.
[[nodiscard]] SWMGR_API int switchCfgDisable(Switch *sw);

// Detaches a listed switch from its backend; it stays listed. 0; -22 when no
// switch has that name.
[[nodiscard]] SWMGR_API int switchDeinit(const char *name);
}
