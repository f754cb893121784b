// The simulated gateway's own account of engine and sub-interfaces, as its tools
// keep it.
#pragma once

#include "devices/engine/state.h"

#include <memory>
#include <string>

namespace swctl {

struct StateFile {
    // All but the tables of VLANs and addresses; null without a reason for a file that
    // is not there, or that its maker left empty: no tool has run yet.
    std::unique_ptr<engine::State, void (*)(void *)> state;
    std::string reason; // why it could not be read
};

StateFile readStateFile(const std::string &path);

} // namespace swctl
