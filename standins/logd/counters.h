// Counts what the switch manager's records report as they arrive, since the ring keeps
// only the last ones.
#pragma once

#include "swmgr/swmgr_log.h"

namespace logd {

void counterNote(const SwMgrLogEntry &entry, const char *text);

// Answers LOGGING_MSG_COUNTERS. Returns 0 and the answer's length, or -22 if the request
// or the buffer is too short.
[[nodiscard]] int countersAnswer(const void *request, int requestLength, void *answer,
                                 uint32_t *answerLength);

} // namespace logd
