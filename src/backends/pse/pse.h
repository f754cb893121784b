// The packet switch engine's backend: binding to a switch and command dispatch.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Binds a switch named "PSE": installs the configuration and the transfer
// function. 0; -22 for none or another name.
[[nodiscard]] SWMGR_API int pseSwitchRegister(Switch *sw);

// Clears both functions. 0; -22 for none or another name.
SWMGR_API int pseSwitchUnRegister(Switch *sw);

// The configuration function: runs a command on the engine and, while the
// switch hands commands on, on every switch below, whose answer then counts. A
// wrong length is -22 before anything is done.
[[nodiscard]] SWMGR_API int pseSwitchConfig(Switch *sw, int cmd, const void *payload,
                                            uint32_t payloadLen, void *replyBuf,
                                            uint32_t *replyLen);
}
