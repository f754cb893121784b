// The simulated gateway's record of the engine and the sub-interfaces, as kept by its tools.
#pragma once

#include "devices/engine/state.h"

#include <memory>
#include <string>

namespace swctl {

struct StateFile {
    // Everything but the tables of VLANs and addresses. Null with an empty reason if the file
    // is missing or still empty because no tool has run yet.
    std::unique_ptr<engine::State, void (*)(void *)> state;
    std::string reason; // why the file could not be read
};

StateFile readStateFile(const std::string &path);

} // namespace swctl
