// Where the log daemon's lines go: standard output, or a file of bounded size.
#pragma once

#include <cstddef>
#include <cstdint>

namespace logd {

// Opens `path` to append to; null stands for standard output. A file that grows
// over `maxSize` bytes is kept as PATH.1 and a new one begun; 0: no bound.
// False, with the reason on standard error, when it cannot be opened.
[[nodiscard]] bool outputOpen(const char *path, int64_t maxSize);

// Opens the file anew, after it was moved away.
void outputReopen();

// Takes a line of at most maxLine bytes, to be written with others.
void outputWrite(const char *line, size_t length);

// Writes what was taken, each line whole or not at all.
void outputFlush();

} // namespace logd
