// A ring of fixed slots: memory is touched only as far as records have come.
#include "standins/logd/ring.h"

#include <cerrno>
#include <cstring>
#include <ctime>

namespace logd {

namespace {

struct Slot {
    LogEntry entry;
    char text[maxText]; // entry.textLength bytes
};

// Written by ringAppend, on the daemon's one thread.
constinit Slot slots[ringCapacity] = {};
constinit uint64_t newest = 0; // number of the newest record
constinit uint64_t epoch = 0;  // set at the first use

uint64_t startTime()
{
    if (epoch == 0) {
        struct timespec now = {};
        clock_gettime(CLOCK_REALTIME, &now);
        epoch = static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
    }
    return epoch;
}

const Slot &slotOf(uint64_t number)
{
    return slots[number % ringCapacity];
}

} // namespace

void ringAppend(LogEntry entry, const char *text)
{
    static_cast<void>(startTime());
    entry.number = ++newest;
    entry.textLength = entry.textLength < maxText ? entry.textLength : uint32_t{maxText};
    Slot &slot = slots[newest % ringCapacity];
    slot.entry = entry;
    memcpy(slot.text, text, entry.textLength);
}

int ringAnswer(const void *request, int requestLength, void *answer, uint32_t *answerLength)
{
    LogFollowRequest wanted;
    if (request == nullptr || requestLength != static_cast<int>(sizeof(wanted)) ||
        answer == nullptr || *answerLength < sizeof(LogAnswer))
        return -EINVAL;
    memcpy(&wanted, request, sizeof(wanted));

    LogAnswer header = {};
    header.epoch = startTime();
    header.newest = newest;
    header.last = wanted.after < newest ? wanted.after : newest;
    const uint64_t oldest = newest > ringCapacity ? newest - ringCapacity + 1 : 1;
    if (header.last + 1 < oldest) {
        header.skipped = oldest - header.last - 1;
        header.last = oldest - 1;
    }
    auto *bytes = static_cast<unsigned char *>(answer);
    size_t used = sizeof(header);
    while (header.last < newest) {
        const Slot &slot = slotOf(header.last + 1);
        if (slot.entry.level <= wanted.level) {
            const size_t size = entrySize(slot.entry.textLength);
            if (size > *answerLength - used)
                break;
            memset(bytes + used, 0, size);
            memcpy(bytes + used, &slot.entry, sizeof(slot.entry));
            memcpy(bytes + used + sizeof(slot.entry), slot.text, slot.entry.textLength);
            used += size;
            ++header.count;
        }
        ++header.last;
    }
    memcpy(bytes, &header, sizeof(header));
    *answerLength = static_cast<uint32_t>(used);
    return 0;
}

} // namespace logd
