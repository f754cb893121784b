// Passing a command on to lower switches, for backends that do so.
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

// Passes a command on to every switch below through confTransferFunc, stopping at the first
// failure. Returns 0, even if the last one returned a positive value, or the failure. Logs
// under `func`.
[[nodiscard]] int switchLowerConfig(Switch &sw, const SwitchLowerCommand &command,
                                    const char *func);

// Passes a command on to one switch below. A rate limit is sent for every port that the named
// one is mapped onto. Returns the lower switch's status; -1 for a rate limit that has no
// record, or names a port that is unknown or has no mapping.
[[nodiscard]] int switchLowerTransfer(Switch &sw, Switch &lower, const SwitchLowerCommand &command,
                                      const char *func);
