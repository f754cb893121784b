// Command lines of the service that failed and have not succeeded since; the engine's
// tables cannot be read, so this is all that is known of them. Also whether a load of the
// configuration failed, with the errors before it.
#pragma once

#include "swmgr/swmgr_log.h"

namespace logd {

constexpr uint32_t failureCapacity = 4096;

// Notes a command line's outcome: a failure is kept under its table entry, and a success
// for the same entry removes it. Of other records, only a failed load is kept.
void failureNote(const SwMgrLogEntry &entry, const char *text);

// Answers LOGGING_MSG_TOOLS. Returns 0 and the answer's length, or -22 if the request or
// the buffer is too short. `skipped` counts failures for which there was no room.
[[nodiscard]] int failuresAnswer(const void *request, int requestLength, void *answer,
                                 uint32_t *answerLength);

} // namespace logd
