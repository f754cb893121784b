// The lines about settings that no device can report: the newest one of each, since the ring
// soon loses them. What a line means is left to the reader.
#pragma once

#include "swmgr/swmgr_log.h"

namespace logd {

constexpr uint32_t settingCapacity = 512;

// Keeps the record if it is about a setting, in place of the previous one about the same.
void settingNote(const SwMgrLogEntry &entry, const char *text);

// Answers LOGGING_MSG_SETTINGS. Returns 0 and the answer's length, or -22 if the request or
// the buffer is too short. `skipped` counts settings for which there was no room.
[[nodiscard]] int settingsAnswer(const void *request, int requestLength, void *answer,
                                 uint32_t *answerLength);

} // namespace logd
