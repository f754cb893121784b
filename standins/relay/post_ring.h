// Posts in memory shared by sender and receiver, so that a post costs a copy and no system
// call while the receiver is awake. A ring has one sender and one receiver, and outlives
// either: posts of a dead sender are still read, and those that a dead receiver left go to
// the next one.
#pragma once

#include "common/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <sys/uio.h>

namespace relay {

// How far the receiver may lag behind. Memory is in use only while it does, and is given
// back afterwards.
constexpr uint32_t ringCapacity = 8 * 1024 * 1024; // bytes, a power of two

struct RingMemory;

// One end's view.
struct PostRing {
    RingMemory *memory; // null: none
    uint32_t position;  // this end's position, in bytes since the beginning, modulo 2^32
    uint32_t inUse;     // sender: bytes written since memory was last given back
};

// Opens the sender's end. Returns the descriptor to pass to receivers, which is not valid
// if the system has no such memory.
[[nodiscard]] Descriptor ringCreate(PostRing &ring);

// Opens the receiver's end, on memory from an untrusted peer. Returns 0 or -EBADMSG.
[[nodiscard]] int ringOpen(int memory, PostRing &ring);

void ringClose(PostRing &ring);

// Appends a message of `count` parts. False: there is no room.
[[nodiscard]] bool ringPut(PostRing &ring, const struct iovec *parts, size_t count);

// For the sender: gives memory back to the system if the ring is empty.
void ringTidy(PostRing &ring);

// True once after the receiver has asked to be woken.
[[nodiscard]] bool ringWakeDue(const PostRing &ring);

// Copies the next message to `packet` of maxFrameSize bytes. Returns its length, 0 if there
// is none, -EBADMSG if the sender wrote nonsense.
[[nodiscard]] int ringTake(PostRing &ring, unsigned char *packet);

// Sets whether the sender should wake the receiver for the next message. Returns false if
// there is one already.
bool ringAskToBeWoken(const PostRing &ring, bool ask);

} // namespace relay
