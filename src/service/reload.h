// Loading and applying the stored configuration at startup.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// Disables the VLANs of the current top-level switch, if any, empties the switch list, loads
// the three tables and applies the top-level switch. Returns 0 or the negative result of the
// failed step, which is not undone.
[[nodiscard]] SWMGR_API int swMgrCfgReload(void);

// Applies the whole configuration of the top-level switch. Returns -1 if there is none.
[[nodiscard]] SWMGR_API int swMgrCfgApply(void);
}
