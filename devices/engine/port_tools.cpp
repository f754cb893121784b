// The tools for port settings: rate limits, queues, trust and the rate limiter's main
// switch.
#include "devices/engine/tools.h"

namespace engine {

namespace {

constexpr uint32_t highestRateValue = 127;
constexpr uint32_t highestRateUnit = 2;
constexpr uint32_t highestQueueCode = 2;
constexpr uint32_t highestSchedMode = 2;
constexpr uint32_t highestWeight = 7; // a weight of 2^7

} // namespace

int rateLimit(State &state, const Arguments &arguments)
{
    uint32_t port = 0;
    uint32_t value = 0;
    uint32_t unit = 0;
    if (!arguments.is(0, "set") || arguments.count != 4)
        return wrongUsage;
    if (!arguments.decimal(1, "PORT", 0, portCount - 1, port) ||
        !arguments.decimal(2, "VALUE", 0, highestRateValue, value) ||
        !arguments.decimal(3, "UNIT", 0, highestRateUnit, unit))
        return badArguments;
    PortState &settings = state.ports[port];
    settings.rateSet = 1;
    settings.rateValue = static_cast<uint8_t>(value);
    settings.rateUnit = static_cast<uint8_t>(unit);
    return 0;
}

int trafficClasses(State &state, const Arguments &arguments)
{
    if (!arguments.is(0, "set") || arguments.count != 2)
        return wrongUsage;
    return arguments.decimal(1, "CODE", 0, highestQueueCode, state.queueCode) ? 0 : badArguments;
}

int queueWeights(State &state, const Arguments &arguments)
{
    uint32_t port = 0;
    uint32_t mode = 0;
    uint32_t weights[queueCount] = {};
    if (!arguments.is(0, "set") || arguments.count != 7)
        return wrongUsage;
    if (!arguments.decimal(1, "PORT", 0, portCount - 1, port) ||
        !arguments.decimal(2, "MODE", 0, highestSchedMode, mode))
        return badArguments;
    for (int i = 0; i < static_cast<int>(queueCount); ++i)
        if (!arguments.decimal(3 + i, "WEIGHT", 0, highestWeight, weights[i]))
            return badArguments;
    PortState &settings = state.ports[port];
    settings.schedSet = 1;
    settings.schedMode = static_cast<uint8_t>(mode);
    for (uint32_t i = 0; i < queueCount; ++i)
        settings.weights[i] = static_cast<uint8_t>(weights[i]);
    return 0;
}

int priorityControl(State &state, const Arguments &arguments)
{
    uint32_t port = 0;
    uint32_t chosen = 0;
    uint32_t flagsOn = 0;
    if (!arguments.is(0, "set") || arguments.count != 2 + static_cast<int>(trustModeCount))
        return wrongUsage;
    if (!arguments.decimal(1, "PORT", 0, portCount - 1, port))
        return badArguments;
    for (uint32_t i = 0; i < trustModeCount; ++i) {
        uint32_t flag = 0;
        if (!arguments.decimal(2 + static_cast<int>(i), "FLAG", 0, 1, flag))
            return badArguments;
        flagsOn += flag;
        chosen = flag != 0 ? i : chosen;
    }
    if (flagsOn != 1)
        return arguments.fail("exactly one of the five flags is 1");
    state.ports[port].trustSet = 1;
    state.ports[port].trustFlag = static_cast<uint8_t>(chosen);
    return 0;
}

int packetEngine(State &state, const Arguments &arguments)
{
    const bool enable = arguments.is(1, "enable");
    if (!arguments.is(0, "rl") || arguments.count != 2 || (!enable && !arguments.is(1, "disable")))
        return wrongUsage;
    state.rateLimiter = enable ? 1 : 0;
    return 0;
}

} // namespace engine
