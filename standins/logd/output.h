// Where the log daemon's lines go: standard output, or a file of limited size.
#pragma once

#include <cstddef>
#include <cstdint>

namespace logd {

// Opens `path` for appending; null means standard output. A file that exceeds `maxSize`
// bytes is kept as PATH.1 and a new one begun; 0: no limit. False if it cannot be opened,
// with the reason on standard error.
[[nodiscard]] bool outputOpen(const char *path, int64_t maxSize);

// Reopens the file after it has been moved away.
void outputReopen();

// Takes a line of at most maxLine bytes, to be written together with others.
void outputWrite(const char *line, size_t length);

// Writes the lines taken, each whole or not at all.
void outputFlush();

} // namespace logd
