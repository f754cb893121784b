// A record as one line of text.
#pragma once

#include "common/printable.h"
#include "swmgr/swmgr_log.h"

namespace logd {

// A line with its newline and terminator: the head, then the text.
constexpr size_t maxLine = 128 + printableWidest * SWMGR_LOG_TEXT_SIZE;

// Writes "TIME RANK MODULE TEXT\n", the rank as common/log_rank.h has it. Line
// ends at the end of the text are left out. Returns the length without the
// terminator.
size_t formatLine(const SwMgrLogEntry &entry, const char *text, char (&line)[maxLine]);

} // namespace logd
