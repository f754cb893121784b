// A ring of fixed slots; memory is touched only as far as records have arrived.
#include "standins/logd/ring.h"

#include "common/clock.h"
#include "common/log_entry.h"

#include <cerrno>
#include <cstring>

namespace logd {

namespace {

struct Slot {
    SwMgrLogEntry entry;
    char text[SWMGR_LOG_TEXT_SIZE]; // entry.textLength bytes
};

// Written by ringAppend, on the daemon's only thread.
constinit Slot slots[ringCapacity] = {};
constinit uint64_t newest = 0; // number of the newest record
constinit uint64_t epoch = 0;  // set by ringBegin, or at the first use
constinit uint32_t lost = 0;   // records that senders lost

uint64_t startTime()
{
    if (epoch == 0)
        epoch = static_cast<uint64_t>(nanosecondsNow(CLOCK_REALTIME));
    return epoch;
}

const Slot &slotOf(uint64_t number)
{
    return slots[number % ringCapacity];
}

} // namespace

void ringBegin()
{
    static_cast<void>(startTime());
}

void ringLost(uint32_t count)
{
    lost += count;
}

uint64_t ringAppend(SwMgrLogEntry entry, const char *text)
{
    static_cast<void>(startTime());
    entry.number = ++newest;
    entry.textLength =
        entry.textLength < SWMGR_LOG_TEXT_SIZE ? entry.textLength : uint32_t{SWMGR_LOG_TEXT_SIZE};
    lost += entry.dropped;
    Slot &slot = slots[newest % ringCapacity];
    slot.entry = entry;
    memcpy(slot.text, text, entry.textLength);
    return newest;
}

int answerBegin(const void *request, int requestLength, const void *answer,
                const uint32_t *answerLength, SwMgrLogFollowRequest &wanted, SwMgrLogAnswer &header)
{
    if (request == nullptr || requestLength != static_cast<int>(sizeof(wanted)) ||
        answer == nullptr || *answerLength < sizeof(header))
        return -EINVAL;
    memcpy(&wanted, request, sizeof(wanted));
    header = {};
    header.epoch = startTime();
    header.newest = newest;
    header.last = wanted.after < newest ? wanted.after : newest;
    header.lost = lost;
    return 0;
}

bool answerAdd(const SwMgrLogEntry &entry, const char *text, void *answer, uint32_t capacity,
               size_t &used)
{
    const size_t size = logEntrySize(entry.textLength);
    if (size > capacity - used)
        return false;
    unsigned char *at = static_cast<unsigned char *>(answer) + used;
    memset(at, 0, size);
    memcpy(at, &entry, sizeof(entry));
    memcpy(at + sizeof(entry), text, entry.textLength);
    used += size;
    return true;
}

int ringAnswer(const void *request, int requestLength, void *answer, uint32_t *answerLength)
{
    SwMgrLogFollowRequest wanted;
    SwMgrLogAnswer header;
    const int status = answerBegin(request, requestLength, answer, answerLength, wanted, header);
    if (status != 0)
        return status;
    const uint64_t oldest = newest > ringCapacity ? newest - ringCapacity + 1 : 1;
    if (header.last + 1 < oldest) {
        header.skipped = oldest - header.last - 1;
        header.last = oldest - 1;
    }
    size_t used = sizeof(header);
    for (; header.last < newest; ++header.last) {
        const Slot &slot = slotOf(header.last + 1);
        if (slot.entry.level > wanted.level)
            continue;
        if (!answerAdd(slot.entry, slot.text, answer, *answerLength, used))
            break;
        ++header.count;
    }
    memcpy(answer, &header, sizeof(header));
    *answerLength = static_cast<uint32_t>(used);
    return 0;
}

} // namespace logd
