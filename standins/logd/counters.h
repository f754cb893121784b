// What the switch manager's records tell, counted as they come: the ring keeps the
// last of them only.
#pragma once

#include "swmgr/swmgr_log.h"

namespace logd {

void counterNote(const SwMgrLogEntry &entry, const char *text);

// Answers LOGGING_MSG_COUNTERS. Returns 0 and the answer's length, or -22 for a
// request or a buffer too short.
[[nodiscard]] int countersAnswer(const void *request, int requestLength, void *answer,
                                 uint32_t *answerLength);

} // namespace logd
