// The only way in which a command reaches a switch's backend.
#pragma once

#include "model/switch.h"

// Calls the backend of `sw`. A switch that was detached from its backend is
// reported and answered with -1.
[[nodiscard]] int switchCommandSend(Switch &sw, int cmd, const void *payload, uint32_t payloadLen,
                                    void *replyBuf, uint32_t *replyLen);

// The same for the model's own commands: no reply buffer, and a zero word for its length.
[[nodiscard]] int switchCommandSend(Switch &sw, int cmd, const void *payload, uint32_t payloadLen);
