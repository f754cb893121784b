// The last records in memory, and the answer to one who follows them.
#pragma once

#include "standins/logd/log_follow.h"

namespace logd {

constexpr uint64_t ringCapacity = 512;

// Keeps a record under the next number, in place of the oldest one.
void ringAppend(LogEntry entry, const char *text);

// Writes the records that a request asks for into `answer`, as many as fit.
// Returns 0 and the answer's length, or -22 for a request or a buffer too short.
[[nodiscard]] int ringAnswer(const void *request, int requestLength, void *answer,
                             uint32_t *answerLength);

} // namespace logd
