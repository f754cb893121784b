// A record as one line of text, and the names of levels and modules.
#pragma once

#include "standins/logd/log_follow.h"

namespace logd {

// A line with its newline and terminator: the head, then each byte of the text
// in up to four.
constexpr size_t maxLine = 128 + 4 * maxText;

// "error", "info", "notice", "debug"; null for a level without a name.
const char *levelName(int32_t level);

// The level of a name; false: there is no such name.
bool levelByName(const char *name, int32_t &level);

// Writes "TIME LEVEL MODULE TEXT\n". Line ends at the end of the text are left
// out; control characters and bytes outside ASCII appear as \xHH, so that no
// record can look like two. Returns the length without the terminator.
size_t formatLine(const LogEntry &entry, const char *text, char (&line)[maxLine]);

} // namespace logd
