// The engine's registers for pause frames, the one part of it that can be asked.
#pragma once

#include "client/devices/difference.h"
#include "client/rehearse/hardware_state.h"
#include "devices/engine/state.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

constexpr uint32_t pauseBit = 1u << 31;
constexpr std::array<uint32_t, 3> pauseRegisters = {0x7000000c, 0x70000010, 0x70000018};
using PauseRegisters = std::array<uint32_t, pauseRegisters.size()>; // their values, in order

std::string registerName(uint32_t address); // "0x7000000c"

PauseRegisters pauseRegistersOf(const engine::State &state);

// By the engine's register tool; of a simulated gateway from the file of its tools.
struct Site;
Part<PauseRegisters> readPauseRegisters(const Site &site);

// Registers whose pause frames, bit 31, are otherwise. They count as no difference: a
// request may have switched them since, and no VLAN depends on them.
void comparePauses(const PauseRegisters &wanted, const PauseRegisters &found,
                   std::vector<Difference> &all);

} // namespace swctl
