// The device's inter-process messaging, as provided by its shared library. The symbols are
// undefined in libswmgr.so and bound at load time, so the device's own library replaces the
// stand-in without a rebuild.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct RelayCtx RelayCtx; // opaque registration handle

// Little-endian. The service reads only `sender` and `request`.
typedef struct RelayMsgHdr {
    uint32_t reserved0; // used by the messaging itself; 0 with the stand-in
    uint32_t sender;    // module id of the sender; 0 if it is not registered
    uint32_t reserved2; // used by the messaging itself; 0 with the stand-in
    uint32_t reserved3; // with the stand-in: messages lost since the sender's last one
    uint32_t request;   // non-zero: a request; zero: a reply
} RelayMsgHdr;

// The minimum size of a reply buffer as seen by a handler; bytes that the sender did not
// provide are zero. A record that fits can therefore be read without checking the length.
#define RELAY_REPLY_SIZE 64

// Called by relayListen for each message. `replyBuf` is null if the sender provided no bytes;
// else it holds the sender's bytes, zero-padded to at least RELAY_REPLY_SIZE. `replyLen` holds
// the number of bytes that the sender provided, and may be null. The result is returned to the
// sender.
typedef int (*RelayHandler)(void *arg, RelayMsgHdr *msgHdr, int msgType, void *msgData, int msgLen,
                            void *replyBuf, uint32_t *replyLen);

int relayInit(void);
RelayCtx *relayRegister(int moduleId, int mode, RelayHandler handler, void *arg);
int relayListen(RelayCtx *ctx, int timeout); // timeout in microseconds with the stand-in
int relayUnRegister(RelayCtx *ctx);
int relayDeInit(void);

// Mode 2 sends without waiting for an answer; the stand-in's mode 1 waits and returns the
// handler's result. `bufLen` is the length of `buf` in bytes.
int relayIoctl(RelayCtx *ctx, int destModule, int requestType, void *data, int dataLen, void *buf,
               uint32_t *bufLen, int mode, int arg1, int arg2);

#ifdef __cplusplus
}
#endif
