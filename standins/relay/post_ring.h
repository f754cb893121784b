// Posts in memory that sender and receiver share, so that a post costs a copy and no
// system call while the receiver is awake. A ring has one sender and one receiver. It
// outlives either: what the sender left is still read, and what a receiver that died
// had not taken the next one gets.
#pragma once

#include "common/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <sys/uio.h>

namespace relay {

// How far the receiver may lag behind. Memory is in use as far as it does, and is given
// back after that.
constexpr uint32_t ringCapacity = 8 * 1024 * 1024; // bytes, a power of two

struct RingMemory;

// One end's view.
struct PostRing {
    RingMemory *memory; // null: none
    uint32_t position;  // where this end is, in bytes since the beginning, modulo 2^32
    uint32_t inUse;     // sender: bytes written since memory was last given back
};

// The sender's end. Returns the descriptor to be passed to receivers; not valid where
// the system has no such memory.
[[nodiscard]] Descriptor ringCreate(PostRing &ring);

// The receiver's end, of memory from a peer that may be anything. Returns 0 or -EBADMSG.
[[nodiscard]] int ringOpen(int memory, PostRing &ring);

void ringClose(PostRing &ring);

// Appends a message made of `count` parts. False: there is no room.
[[nodiscard]] bool ringPut(PostRing &ring, const struct iovec *parts, size_t count);

// The sender's: gives memory back to the system when nothing is in the ring.
void ringTidy(PostRing &ring);

// True once after the receiver asked to be woken.
[[nodiscard]] bool ringWakeDue(const PostRing &ring);

// Copies the next message into `packet` of maxFrameSize bytes. Returns its length, 0
// when there is none, -EBADMSG when the sender wrote nonsense.
[[nodiscard]] int ringTake(PostRing &ring, unsigned char *packet);

// Whether the sender is to wake the receiver for the next message. Returns false when
// there is one already.
bool ringAskToBeWoken(const PostRing &ring, bool ask);

} // namespace relay
