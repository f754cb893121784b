// The state after power-on.
#include "devices/engine/state.h"

#include <cstring>

namespace engine {

void stateReset(State &state)
{
    memset(&state, 0, sizeof(state));
    statePowerOn(state);
}

void statePowerOn(State &state)
{
    constexpr uint32_t pauseRegisters[] = {0x7000000c, 0x70000010, 0x70000018};
    constexpr uint32_t longestPause = 0xffff;
    for (const uint32_t address : pauseRegisters)
        state.registers[(address - registerBase) / registerSize] = longestPause;
    state.version = stateVersion;
    state.size = sizeof(state);
    state.magic = stateMagic;
}

} // namespace engine
