// The engine's port and switch-wide settings. Each takes the switch and the command's record,
// which need not be aligned, and runs the engine's tools. There is only one engine, so 47, 48
// and 51 work without a switch, too.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// 47, int32: the tool's status; -1 for a null record or a value other than 0 and 1.
[[nodiscard]] SWMGR_API int pseQoSConfigure(Switch *sw, const void *payload);

// 48, SwCmdQueueSched: 0; -1 for a null record, an invalid count or mode; else the first
// nonzero status of a tool.
[[nodiscard]] SWMGR_API int pseQueueSchedConfigure(Switch *sw, const void *payload);

// 49, int32: the status of the last register; -1 for a null argument.
[[nodiscard]] SWMGR_API int psePauseFrameConfigure(Switch *sw, const void *payload);

// 50, SwCmdRateLimit: the tool's status; -1 for a null argument, an unknown port, an invalid
// command or a rate out of range.
[[nodiscard]] SWMGR_API int pseRateLimitConfigure(Switch *sw, const void *payload);

// 51, SwCmdTrustMode: the tool's status; -1 for a null record or an invalid mode.
[[nodiscard]] SWMGR_API int pseTrustModeConfigure(Switch *sw, const void *payload);
}
