// The last records in memory, and the answer to one who follows them.
#pragma once

#include "swmgr/swmgr_log.h"

namespace logd {

constexpr uint64_t ringCapacity = 512;

// From now on records are heard; answers tell since when.
void ringBegin();

// Keeps a record under the next number, in place of the oldest one, and returns
// the number.
uint64_t ringAppend(SwMgrLogEntry entry, const char *text);

// Writes the records that a request asks for into `answer`, as many as fit.
// Returns 0 and the answer's length, or -22 for a request or a buffer too short.
[[nodiscard]] int ringAnswer(const void *request, int requestLength, void *answer,
                             uint32_t *answerLength);

// An answer's head as it is for any request at this moment; `after` is what the
// request says. Returns -22 for a request or a buffer too short.
[[nodiscard]] int answerBegin(const void *request, int requestLength, const void *answer,
                              const uint32_t *answerLength, SwMgrLogFollowRequest &wanted,
                              SwMgrLogAnswer &header);

// Adds an entry with its text to an answer of `capacity` bytes, of which `used`
// hold something. False: it does not fit.
[[nodiscard]] bool answerAdd(const SwMgrLogEntry &entry, const char *text, void *answer,
                             uint32_t capacity, size_t &used);

} // namespace logd
