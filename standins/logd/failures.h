// Command lines of the service that failed and have not succeeded since. The
// engine's tables cannot be asked, so this is what is known of them. And whether a
// load of the configuration failed, with the errors before that.
#pragma once

#include "swmgr/swmgr_log.h"

namespace logd {

constexpr uint32_t failureCapacity = 4096;

// Notes a command line's outcome: a failure is kept under its table entry, a
// success about the same entry takes it away. Of other records the failed load is
// kept.
void failureNote(const SwMgrLogEntry &entry, const char *text);

// Answers LOGGING_MSG_TOOLS. Returns 0 and the answer's length, or -22 for a
// request or a buffer too short. `skipped` counts failures that found no room.
[[nodiscard]] int failuresAnswer(const void *request, int requestLength, void *answer,
                                 uint32_t *answerLength);

} // namespace logd
