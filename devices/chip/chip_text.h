// What the chip did and holds, in words: one line per request for a trace, the
// whole state as a table for people or as JSON for programs.
#pragma once

#include "devices/chip/chip_model.h"

#include <string>

namespace chip {

// One request as it was answered, without a line end: name, decoded fields,
// result. `record` is the record after the request; a size that does not fit
// the number is said, and nothing is decoded then.
std::string requestText(uint32_t request, int64_t argument, const uint8_t *record, size_t size,
                        int result);

std::string stateTable(const Model &model);
std::string stateJson(const Model &model);

} // namespace chip
