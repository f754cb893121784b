// Prints what the engine and the simulated sub-interfaces hold.
#pragma once

#include "devices/engine/state.h"

#include <cstdio>

namespace engine {

void showTable(const State &state, FILE *out);
void showJson(const State &state, FILE *out);

} // namespace engine
