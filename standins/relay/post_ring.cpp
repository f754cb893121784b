// The ring's bytes. Neither end trusts what the other wrote: each keeps its own position,
// and lengths are copied before they are checked.
#include "standins/relay/post_ring.h"

#include "standins/relay/frame.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace relay {

// Both ends are on the same machine. The data written by each end is on a separate cache
// line.
struct RingMemory {
    alignas(64) uint32_t written; // the sender's position
    alignas(64) uint32_t taken;   // the receiver's
    uint32_t wake;                // 1: the receiver waits and wants to be woken
    alignas(64) unsigned char bytes[ringCapacity];
};

namespace {

constexpr uint32_t unit = frameAlignment;  // records begin at multiples of it
constexpr uint32_t skipToStart = 0;        // length of a record that fills the rest of the ring
constexpr uint32_t keptInUse = 256 * 1024; // bytes of memory that are not given back
constexpr int neededSeals = F_SEAL_SHRINK | F_SEAL_GROW; // so that no access can fault

uint32_t recordSize(uint32_t length)
{
    return (unit + length + unit - 1) / unit * unit;
}

uint32_t offsetOf(uint32_t position)
{
    return position & (ringCapacity - 1);
}

int ringMap(int memory, PostRing &ring)
{
    void *mapped = mmap(nullptr, sizeof(RingMemory), PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
    if (mapped == MAP_FAILED)
        return -errno;
    ring = {static_cast<RingMemory *>(mapped), 0, 0};
    return 0;
}

void putLength(RingMemory &memory, uint32_t position, uint32_t length)
{
    memcpy(memory.bytes + offsetOf(position), &length, sizeof(length));
}

// Gives back the memory of an empty ring, except for the pages that both ends watch.
void giveBack(PostRing &ring)
{
    if (ring.inUse <= keptInUse)
        return;
    constexpr size_t first = 64 * 1024; // a multiple of any page size
    unsigned char *from = reinterpret_cast<unsigned char *>(ring.memory) + first;
    static_cast<void>(madvise(from, sizeof(RingMemory) - first, MADV_REMOVE));
    ring.inUse = 0;
}

} // namespace

Descriptor ringCreate(PostRing &ring)
{
    Descriptor memory(memfd_create("relay-posts", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memory.valid() || ftruncate(memory.get(), sizeof(RingMemory)) != 0 ||
        fcntl(memory.get(), F_ADD_SEALS, neededSeals | F_SEAL_SEAL) != 0 ||
        ringMap(memory.get(), ring) != 0)
        memory.reset();
    return memory;
}

int ringOpen(int memory, PostRing &ring)
{
    struct stat about = {};
    const int seals = fcntl(memory, F_GET_SEALS);
    if (seals < 0 || (seals & neededSeals) != neededSeals || fstat(memory, &about) != 0 ||
        about.st_size != static_cast<off_t>(sizeof(RingMemory)) || ringMap(memory, ring) != 0)
        return -EBADMSG;
    ring.position = __atomic_load_n(&ring.memory->taken, __ATOMIC_ACQUIRE);
    if (ring.position % unit == 0)
        return 0;
    ringClose(ring);
    return -EBADMSG;
}

void ringClose(PostRing &ring)
{
    if (ring.memory != nullptr)
        munmap(ring.memory, sizeof(RingMemory));
    ring = {};
}

bool ringPut(PostRing &ring, const struct iovec *parts, size_t count)
{
    RingMemory &memory = *ring.memory;
    uint32_t length = 0;
    for (size_t i = 0; i < count; ++i)
        length += static_cast<uint32_t>(parts[i].iov_len);
    const uint32_t taken = __atomic_load_n(&memory.taken, __ATOMIC_ACQUIRE);
    if (taken == ring.position)
        giveBack(ring);
    const uint32_t size = recordSize(length);
    const uint32_t toEnd = ringCapacity - offsetOf(ring.position);
    const uint32_t skipped = size <= toEnd ? 0 : toEnd;
    const uint32_t used = ring.position - taken;
    if (used > ringCapacity || size + skipped > ringCapacity - used)
        return false;
    if (skipped != 0) {
        putLength(memory, ring.position, skipToStart);
        ring.position += skipped;
    }
    putLength(memory, ring.position, length);
    unsigned char *at = memory.bytes + offsetOf(ring.position) + unit;
    for (size_t i = 0; i < count; ++i) {
        if (parts[i].iov_len != 0)
            memcpy(at, parts[i].iov_base, parts[i].iov_len);
        at += parts[i].iov_len;
    }
    ring.inUse += size;
    ring.position += size;
    __atomic_store_n(&memory.written, ring.position, __ATOMIC_SEQ_CST);
    return true;
}

void ringTidy(PostRing &ring)
{
    if (__atomic_load_n(&ring.memory->taken, __ATOMIC_ACQUIRE) == ring.position)
        giveBack(ring);
}

bool ringWakeDue(const PostRing &ring)
{
    // Checked after the store above, just as the receiver checks after asking, so one of
    // the two always sees the other.
    return __atomic_load_n(&ring.memory->wake, __ATOMIC_SEQ_CST) != 0 &&
           __atomic_exchange_n(&ring.memory->wake, 0, __ATOMIC_SEQ_CST) != 0;
}

int ringTake(PostRing &ring, unsigned char *packet)
{
    RingMemory &memory = *ring.memory;
    const uint32_t written = __atomic_load_n(&memory.written, __ATOMIC_ACQUIRE);
    for (int skips = 0; skips < 2; ++skips) {
        const uint32_t available = written - ring.position;
        if (available == 0)
            return 0;
        if (available > ringCapacity || available % unit != 0)
            return -EBADMSG;
        const uint32_t offset = offsetOf(ring.position);
        uint32_t length = 0;
        memcpy(&length, memory.bytes + offset, sizeof(length));
        const bool skip = length == skipToStart;
        if (!skip && length > maxFrameSize)
            return -EBADMSG;
        const uint32_t size = skip ? ringCapacity - offset : recordSize(length);
        if (size > available || size > ringCapacity - offset)
            return -EBADMSG;
        if (!skip)
            memcpy(packet, memory.bytes + offset + unit, length);
        ring.position += size;
        __atomic_store_n(&memory.taken, ring.position, __ATOMIC_RELEASE);
        if (!skip)
            return static_cast<int>(length);
    }
    return -EBADMSG;
}

bool ringAskToBeWoken(const PostRing &ring, bool ask)
{
    __atomic_store_n(&ring.memory->wake, ask ? 1 : 0, __ATOMIC_SEQ_CST);
    return !ask || __atomic_load_n(&ring.memory->written, __ATOMIC_SEQ_CST) == ring.position;
}

} // namespace relay
