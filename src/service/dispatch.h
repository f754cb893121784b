// The request handler that the service registers with relay.
#pragma once

#include "platform/relay.h"
#include "swmgr/swmgr.h"

// Called by relayListen for each message to the service: checks it and routes it by its type.
// The result, 0 or a negative error, is returned to the sender.
extern "C" SWMGR_API int swMgrIoctlHandler(void *arg, RelayMsgHdr *msgHdr, int msgType,
                                           void *msgData, int msgLen, void *replyBuf,
                                           uint32_t *replyLen);
