// The stream of what happened during a rehearsal.
#pragma once

#include "rehearsal/protocol.h"

#include <cstddef>
#include <string_view>

namespace rehearsal {

// Adds a piece to the stream; it is written when there is much of it.
void record(Kind kind, int32_t number, uint32_t extra, const void *data, size_t length);
void record(Kind kind, int32_t number, std::string_view text);

// Writes what has not been written yet. False when it could not be.
bool recordsFlush();

} // namespace rehearsal
