// What the chip did and holds, as text: one line per request for a trace, the whole
// state as a table for people or as JSON for programs.
#pragma once

#include "devices/chip/chip_model.h"

#include <string>

namespace chip {

// One answered request, without a line end: name, decoded fields, result. `record` is
// the record after the request. If the size does not match the number, the line says so
// and nothing is decoded.
std::string requestText(uint32_t request, int64_t argument, const uint8_t *record, size_t size,
                        int result);

std::string stateTable(const Model &model);
std::string stateJson(const Model &model);

} // namespace chip
