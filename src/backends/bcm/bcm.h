// The Broadcom chip's backend: binding to a switch and command dispatch.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Binds a switch named "BCM": installs the configuration function and opens the
// device node. 0; -22 for none, another name, or a node that cannot be opened
// (the function then stays installed).
[[nodiscard]] SWMGR_API int bcmSwitchRegister(Switch *sw);

// Undoes bcmSwitchRegister. 0; -22 for none or another name.
SWMGR_API int bcmSwitchUnRegister(Switch *sw);

// The configuration function: commands 33, 34, 35 and 41 with exactly their
// length (-22 otherwise); any other command is answered with 0.
[[nodiscard]] SWMGR_API int bcmSwitchConfig(Switch *sw, int cmd, const void *payload,
                                            uint32_t payloadLen, void *replyBuf,
                                            uint32_t *replyLen);
}
