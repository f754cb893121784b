// The file that keeps the engine's state between tool calls: opened, locked by one
// process, and mapped.
#pragma once

#include "devices/engine/state.h"

namespace engine {

constexpr char defaultStatePath[] = "/var/swengine.state";

// Holds the lock as long as it lives.
class StateFile {
public:
    StateFile() = default;
    StateFile(const StateFile &) = delete;
    StateFile &operator=(const StateFile &) = delete;
    ~StateFile();

    // Creates the file if it is missing. If it cannot be used, returns null with the
    // reason in `why`, the caller's buffer.
    State *open(const char *path, char *why, size_t whySize);

private:
    State *state = nullptr;
    int fd = -1;
};

} // namespace engine
