// The engine's exported functions for passing commands on.
#include "backends/pse/lower.h"

#include "model/status.h"
#include "switch/lower.h"

extern "C" int pseLowerSwitchConfig(Switch *sw, int cmd, const void *payload, uint32_t payloadLen,
                                    void *replyBuf, uint32_t *replyLen)
{
    if (sw == nullptr)
        return statusInvalid;
    return switchLowerConfig(*sw, {cmd, payload, payloadLen, replyBuf, replyLen}, __func__);
}

extern "C" int pseConfTransfer(Switch *sw, Switch *lower, int cmd, const void *payload,
                               uint32_t payloadLen, void *replyBuf, uint32_t *replyLen)
{
    if (sw == nullptr || lower == nullptr)
        return statusInvalid;
    return switchLowerTransfer(*sw, *lower, {cmd, payload, payloadLen, replyBuf, replyLen},
                               __func__);
}
