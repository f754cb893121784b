// The only path by which commands reach a switch's backend.
#pragma once

#include "model/switch.h"

// Calls the backend of `sw`. If the switch has been detached from its backend, logs that and
// returns -1.
[[nodiscard]] int switchCommandSend(Switch &sw, int cmd, const void *payload, uint32_t payloadLen,
                                    void *replyBuf, uint32_t *replyLen);

// For the model's own commands: no reply buffer, and a zero for its length.
[[nodiscard]] int switchCommandSend(Switch &sw, int cmd, const void *payload, uint32_t payloadLen);
