// The engine's tools and the two interface tools, found by name.
#pragma once

#include "devices/engine/arguments.h"
#include "devices/engine/state.h"

namespace engine {

struct Tool {
    const char *name;
    const char *usage; // the arguments, one form per line
    int (*run)(State &state, const Arguments &arguments);
};

const Tool *toolByName(const char *name);
const Tool *tools(size_t &count);

// Runs one call: 0, or a positive status with the reason in reply.error. A failed call
// leaves the state unchanged.
int toolRun(const Tool &tool, const Host &host, State &state, int count, const char *const *words,
            Reply &reply);

// One function per tool; `usage` in tools.cpp says what each takes.
int vlanTable(State &state, const Arguments &arguments);
int arlTable(State &state, const Arguments &arguments);
int rateLimit(State &state, const Arguments &arguments);
int trafficClasses(State &state, const Arguments &arguments);
int queueWeights(State &state, const Arguments &arguments);
int priorityControl(State &state, const Arguments &arguments);
int packetEngine(State &state, const Arguments &arguments);
int registerAccess(State &state, const Arguments &arguments);
int vlanInterface(State &state, const Arguments &arguments);
int interfaceState(State &state, const Arguments &arguments);

// A tool function returns this to have its usage printed.
constexpr int wrongUsage = -1;

} // namespace engine
