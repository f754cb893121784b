#include "client/devices/engine/pause_registers.h"

#include "client/base/program.h"
#include "client/base/state_file.h"
#include "client/devices/site.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

namespace swctl {
namespace {

constexpr const char *registerTool = "/corefs/bin/memrw";

} // namespace

std::string registerName(uint32_t address)
{
    char text[16];
    snprintf(text, sizeof(text), "0x%08x", address);
    return text;
}

PauseRegisters pauseRegistersOf(const engine::State &state)
{
    PauseRegisters values{};
    for (size_t i = 0; i < values.size(); ++i)
        values[i] =
            state.registers[(pauseRegisters[i] - engine::registerBase) / engine::registerSize];
    return values;
}

Part<PauseRegisters> readPauseRegisters(const Site &site)
{
    Part<PauseRegisters> part;
    if (!site.engineState.empty()) {
        const StateFile file = readStateFile(site.engineState);
        part.reason = file.reason.empty() ? "no tool of the engine has run yet" : file.reason;
        if (file.state != nullptr)
            part.held = pauseRegistersOf(*file.state);
        return part;
    }
    PauseRegisters values{};
    for (size_t i = 0; i < values.size(); ++i) {
        constexpr const char *label = "Value :"; // a decimal number follows
        const std::optional<std::string> said =
            access(registerTool, X_OK) == 0
                ? outputOf({registerTool, registerName(pauseRegisters[i]), "w"})
                : std::nullopt;
        const size_t place = said ? said->find(label) : std::string::npos;
        if (place == std::string::npos) {
            part.reason = std::string(registerTool) + " printed no value";
            return part;
        }
        values[i] = static_cast<uint32_t>(
            strtoul(said->c_str() + place + strlen(label), nullptr, /*base=*/0));
    }
    part.held = values;
    return part;
}

} // namespace swctl
