// How a switch hands a command on to the switches below it, for the backends that do.
#pragma once

#include "model/switch.h"

// A command as a configuration function receives it.
struct SwitchLowerCommand {
    int cmd;
    const void *payload;
    uint32_t payloadLen;
    void *replyBuf;
    uint32_t *replyLen;
};

// Hands a command to every switch below through confTransferFunc, and stops at the first
// that fails. 0, also where the last one gave something else; the failure, else. Logs
// under `func`.
[[nodiscard]] int switchLowerConfig(Switch &sw, const SwitchLowerCommand &command,
                                    const char *func);

// Hands a command to one of them. A rate limit goes to every port that the one named is
// mapped onto. The lower switch's status; -1 for a rate limit without a record, of an
// unknown port or of one that is mapped onto none.
[[nodiscard]] int switchLowerTransfer(Switch &sw, Switch &lower, const SwitchLowerCommand &command,
                                      const char *func);
