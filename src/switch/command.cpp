// Passes commands to backends.
#include "switch/command.h"

#include "base/labels.h"
#include "base/log.h"
#include "model/status.h"

int switchCommandSend(Switch &sw, int cmd, const void *payload, uint32_t payloadLen, void *replyBuf,
                      uint32_t *replyLen)
{
    if (sw.configFunc == nullptr) {
        LOG_ERROR(switchStrGet(&sw), "No backend for command (%d)\n", cmd);
        return statusFailed;
    }
    return sw.configFunc(&sw, cmd, payload, payloadLen, replyBuf, replyLen);
}

int switchCommandSend(Switch &sw, int cmd, const void *payload, uint32_t payloadLen)
{
    uint32_t replyLen = 0;
    return switchCommandSend(sw, cmd, payload, payloadLen, /*replyBuf=*/nullptr, &replyLen);
}
