// Loading and applying the stored configuration at the start.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// Takes the VLANs of a current top-level switch down, empties the switch list,
// loads the three tables and applies the top-level switch. Returns 0 or the
// negative result of the step that failed; what that step did stays.
[[nodiscard]] SWMGR_API int swMgrCfgReload(void);

// Applies the whole configuration of the top-level switch. -1 without one.
[[nodiscard]] SWMGR_API int swMgrCfgApply(void);
}
