// The device's inter-process messaging, as its shared library provides it. The symbols
// are undefined in libswmgr.so and bound at load time, so the device's own library
// replaces the stand-in without a rebuild.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct RelayCtx RelayCtx; // opaque registration handle

// Little-endian. The service reads only `sender` and `request`.
typedef struct RelayMsgHdr {
    uint32_t reserved0; // the messaging's own; 0 with the stand-in
    uint32_t sender;    // module id of the sender; 0 for one without registration
    uint32_t reserved2; // the messaging's own; 0 with the stand-in
    uint32_t reserved3; // with the stand-in: messages of this sender lost since its last one
    uint32_t request;   // non-zero: a request; zero: a reply
} RelayMsgHdr;

// What a handler finds in a reply buffer at the least: bytes that the sender did not
// give are zero. So a record in it may be read without a look at its length.
#define RELAY_REPLY_SIZE 64

// Called by relayListen for each message. `replyBuf` is null where the sender gave no
// byte; else it holds what the sender put there, followed by zeros up to
// RELAY_REPLY_SIZE bytes. `replyLen` holds the number of bytes that the sender gave,
// and may be null. The result goes back to the sender.
typedef int (*RelayHandler)(void *arg, RelayMsgHdr *msgHdr, int msgType, void *msgData, int msgLen,
                            void *replyBuf, uint32_t *replyLen);

int relayInit(void);
RelayCtx *relayRegister(int moduleId, int mode, RelayHandler handler, void *arg);
int relayListen(RelayCtx *ctx, int timeout); // the stand-in counts microseconds
int relayUnRegister(RelayCtx *ctx);
int relayDeInit(void);

// Mode 2 sends and does not wait for an answer; the stand-in's mode 1 waits and
// returns the handler's result. `bufLen` is the length of `buf` in bytes.
int relayIoctl(RelayCtx *ctx, int destModule, int requestType, void *data, int dataLen, void *buf,
               uint32_t *bufLen, int mode, int arg1, int arg2);

#ifdef __cplusplus
}
#endif
