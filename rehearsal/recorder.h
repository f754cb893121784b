// The stream of what happened during a rehearsal.
#pragma once

#include "rehearsal/protocol.h"

#include <cstddef>
#include <string_view>

namespace rehearsal {

// Adds a piece to the stream, which is written in large portions.
void record(Kind kind, int32_t number, uint32_t extra, const void *data, size_t length);
void record(Kind kind, int32_t number, std::string_view text);

// Writes the rest. False if anything could not be written.
bool recordsFlush();

} // namespace rehearsal
