// The Broadcom chip's backend: binding a switch and dispatching commands.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Binds a switch named "BCM": installs the configuration function and opens the device node.
// Returns 0; -22 for a null switch, another name, or a node that cannot be opened (the function
// then stays installed).
[[nodiscard]] SWMGR_API int bcmSwitchRegister(Switch *sw);

// Undoes bcmSwitchRegister. Returns 0; -22 for a null switch or another name.
SWMGR_API int bcmSwitchUnRegister(Switch *sw);

// The configuration function. Commands 33, 34, 35 and 41 must have exactly their declared
// length (else -22); any other command returns 0.
[[nodiscard]] SWMGR_API int bcmSwitchConfig(Switch *sw, int cmd, const void *payload,
                                            uint32_t payloadLen, void *replyBuf,
                                            uint32_t *replyLen);
}
