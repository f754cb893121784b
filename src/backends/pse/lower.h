// Passing commands on to the switches below the engine.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Passes a command on to every switch below `sw`. Returns 0 or the first negative result.
[[nodiscard]] SWMGR_API int pseLowerSwitchConfig(Switch *sw, int cmd, const void *payload,
                                                 uint32_t payloadLen, void *replyBuf,
                                                 uint32_t *replyLen);

// Passes a command on to `lower`. A rate limit names a port of `sw` and is sent for each port
// that it is mapped onto. Returns the result of `lower`, or -1 for a port that does not exist
// or has no mapping.
[[nodiscard]] SWMGR_API int pseConfTransfer(Switch *sw, Switch *lower, int cmd, const void *payload,
                                            uint32_t payloadLen, void *replyBuf,
                                            uint32_t *replyLen);
}
