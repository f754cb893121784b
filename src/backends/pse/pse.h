// The packet switch engine's backend: binding a switch and dispatching commands.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

extern "C" {
// Binds a switch named "PSE": installs the configuration and the transfer function. Returns 0;
// -22 for a null switch or another name.
[[nodiscard]] SWMGR_API int pseSwitchRegister(Switch *sw);

// Removes both functions. Returns 0; -22 for a null switch or another name.
SWMGR_API int pseSwitchUnRegister(Switch *sw);

// The configuration function: runs a command on the engine. While forwarding is on, also passes
// it on to every switch below and returns their result. A wrong length returns -22 before
// anything is done.
[[nodiscard]] SWMGR_API int pseSwitchConfig(Switch *sw, int cmd, const void *payload,
                                            uint32_t payloadLen, void *replyBuf,
                                            uint32_t *replyLen);
}
