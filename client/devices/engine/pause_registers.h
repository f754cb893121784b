// The engine's registers for pause frames, the only part of it that can be read.
#pragma once

#include "client/rehearse/hardware_state.h"
#include "devices/engine/state.h"

#include <array>
#include <cstdint>
#include <string>

namespace swctl {

constexpr uint32_t pauseBit = 1u << 31;
constexpr std::array<uint32_t, 3> pauseRegisters = {0x7000000c, 0x70000010, 0x70000018};
using PauseRegisters = std::array<uint32_t, pauseRegisters.size()>; // their values, in order

std::string registerName(uint32_t address); // "0x7000000c"

PauseRegisters pauseRegistersOf(const engine::State &state);

// Uses the engine's register tool, or on a simulated gateway the state file of its tools.
struct Site;
Part<PauseRegisters> readPauseRegisters(const Site &site);

} // namespace swctl
