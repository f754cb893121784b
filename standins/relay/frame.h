// The packet in which a message travels: a header, the data padded to eight
// bytes, the reply buffer. One packet of a SOCK_SEQPACKET socket is one message.
// Pure functions on bytes: no sockets here, so that tests can try any bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace relay {

constexpr uint32_t frameMagic = 0x31594c52; // "RLY1" in memory
constexpr size_t maxFrameSize = 64 * 1024;  // header, data, padding and reply buffer
constexpr size_t frameAlignment = 8;

enum FrameKind : uint32_t {
    FRAME_NONE = 0,    // never sent: what an unreadable header decodes to
    FRAME_REQUEST = 1, // the sender waits for an answer
    FRAME_POST = 2,    // a request that is never answered
    FRAME_ANSWER = 3,  // `type` is the handler's result
    FRAME_RING = 4,    // this connection's further posts come in the memory passed with this packet
    FRAME_WAKE = 5     // sent because the receiver asked to be woken when the ring is not empty
};

// Both ends are on the same machine, so the byte order is the machine's.
struct FrameHeader {
    uint32_t magic;        // frameMagic
    uint32_t kind;         // FrameKind
    uint32_t sequence;     // chosen by the requester, repeated in the answer
    uint32_t sender;       // module id, 0 for a process without registration
    int32_t type;          // request type; in an answer the result
    uint32_t dropped;      // posts of this sender lost since its last one arrived
    uint32_t dataLength;   // bytes of data, 0: none
    uint32_t bufferLength; // bytes of reply buffer, 0: none
};
static_assert(sizeof(FrameHeader) == 32 && std::is_trivially_copyable_v<FrameHeader>);
static_assert(sizeof(FrameHeader) % frameAlignment == 0);

// A message within the bytes from which it was decoded.
struct Frame {
    FrameHeader header;    // all zero if the bytes hold no message
    unsigned char *data;   // header.dataLength bytes, null: none
    unsigned char *buffer; // header.bufferLength bytes, null: none
};

// Bytes of a whole packet; 0 if the message is over the limit.
size_t frameSize(size_t dataLength, size_t bufferLength);

// Bytes between the end of the data and the reply buffer.
size_t framePadding(size_t dataLength);

// Reads a packet of `length` bytes, which may have been cut at maxFrameSize.
// Data and buffer are aligned to eight bytes if `bytes` is. Returns 0, -EMSGSIZE for a
// message over the limit, -EBADMSG for anything else that is not a message; the header is
// filled in as far as it could be read.
[[nodiscard]] int frameDecode(unsigned char *bytes, size_t length, Frame &frame);

} // namespace relay
