// The file that keeps the engine's state between tool calls: opened, locked for
// one process, and mapped in place.
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

    // Creates the file when it is missing. Null with the reason in `why`, a
    // text of the caller's, when it cannot be had.
    State *open(const char *path, char *why, size_t whySize);

private:
    State *state = nullptr;
    int fd = -1;
};

} // namespace engine
