// The last records in memory, and the answers to clients that follow them.
#pragma once

#include "swmgr/swmgr_log.h"

#include <cstring>

namespace logd {

constexpr uint64_t ringCapacity = 512;

// Records are received from now on; answers say since when.
void ringBegin();

// Counts records that were lost before one that is not stored.
void ringLost(uint32_t count);

// Stores a record under the next number, replacing the oldest one, and returns the
// number.
uint64_t ringAppend(SwMgrLogEntry entry, const char *text);

// Writes as many of the requested records to `answer` as fit. Returns 0 and the answer's
// length, or -22 if the request or the buffer is too short.
[[nodiscard]] int ringAnswer(const void *request, int requestLength, void *answer,
                             uint32_t *answerLength);

// The head of an answer to any request at this moment, with `after` from the request.
// Returns -22 if the request or the buffer is too short.
[[nodiscard]] int answerBegin(const void *request, int requestLength, const void *answer,
                              const uint32_t *answerLength, SwMgrLogFollowRequest &wanted,
                              SwMgrLogAnswer &header);

// Adds an entry with its text to an answer of `capacity` bytes, of which `used` are taken.
// False: it does not fit.
[[nodiscard]] bool answerAdd(const SwMgrLogEntry &entry, const char *text, void *answer,
                             uint32_t capacity, size_t &used);

// Answers with `count` kept entries, oldest first; entryAt(i, text) gives the entry and sets
// its text. `unkept` counts those for which there was no room. Returns 0 and the answer's
// length, or -22 if the request or the buffer is too short.
template <class EntryAt>
[[nodiscard]] int keptAnswer(const void *request, int requestLength, void *answer,
                             uint32_t *answerLength, uint64_t unkept, uint32_t count,
                             const EntryAt &entryAt)
{
    SwMgrLogFollowRequest wanted;
    SwMgrLogAnswer header;
    const int status = answerBegin(request, requestLength, answer, answerLength, wanted, header);
    if (status != 0)
        return status;
    header.skipped = unkept;
    header.last = header.newest;
    size_t used = sizeof(header);
    for (uint32_t i = 0; i < count; ++i) {
        const char *text = nullptr;
        const SwMgrLogEntry &entry = entryAt(i, text);
        if (entry.number <= wanted.after)
            continue;
        if (!answerAdd(entry, text, answer, *answerLength, used)) {
            header.last = entry.number - 1; // the rest must be asked for
            break;
        }
        ++header.count;
    }
    memcpy(answer, &header, sizeof(header));
    *answerLength = static_cast<uint32_t>(used);
    return 0;
}

} // namespace logd
