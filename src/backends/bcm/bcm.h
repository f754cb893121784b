// The Broadcom chip's backend: binding to a switch and command dispatch.
#pragma once

#include "switch/model.h"
#include "swmgr/swmgr.h"
#include "vlan/model.h"

extern "C" {
// Descriptor of the chip's device node. There is one chip per process.
extern SWMGR_API int32_t fd;

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

// The chip port through which a VLAN reaches the host: 4 on "eth0", else 0.
[[nodiscard]] SWMGR_API int bcmCPUPortNumberGet(const SwitchVlan *vlan);
}
