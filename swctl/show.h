// The configuration as a picture: text for a terminal, JSON, or an SVG file.
#pragma once

#include "swctl/json.h"
#include "swctl/model.h"

#include <cstdio>
#include <string>

namespace swctl {

// "T", "U", "C", "CU" or ".": tagged, untagged, CPU port, CPU port that sends
// untagged, not a member.
std::string cellMark(const Cell &cell);

// "BCM:0, BCM:1": the lower ports of a port, empty when it has none.
std::string mappingText(const PortConfig &port);

void showText(FILE *stream, const Model &model, const Matrix &matrix, bool colour);
Json showJson(const Model &model, const Matrix &matrix);
std::string showSvg(const Model &model, const Matrix &matrix);

} // namespace swctl
