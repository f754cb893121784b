// Prints what the engine and the simulated sub-interfaces hold.
#pragma once

#include "devices/engine/state.h"

#include <cstdio>

namespace engine {

void tablePrint(const State &state, FILE *out);
void jsonPrint(const State &state, FILE *out);

} // namespace engine
