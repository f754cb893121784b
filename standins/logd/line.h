// Formats a record as one line of text.
#pragma once

#include "common/printable.h"
#include "swmgr/swmgr_log.h"

namespace logd {

// Room for a line with newline and terminator: the head, then the text.
constexpr size_t maxLine = 128 + printableWidest * SWMGR_LOG_TEXT_SIZE;

// Writes "TIME RANK MODULE TEXT\n", with the rank of common/log_rank.h. Trailing line
// ends of the text are left out. Returns the length without the terminator.
size_t formatLine(const SwMgrLogEntry &entry, const char *text, char (&line)[maxLine]);

} // namespace logd
