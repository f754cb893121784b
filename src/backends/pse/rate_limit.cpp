// Rate limits: the engine takes a value of at most 127 and a unit.
#include "backends/pse/settings.h"
#include "base/labels.h"
#include "base/log.h"
#include "base/tool.h"
#include "model/command.h"
#include "model/status.h"
#include "switch/payload.h"
#include "switch/registry.h"

namespace {

struct Band {
    int32_t lowest; // kbit/s
    int32_t highest;
    int32_t unit; // kbit/s per step
    int code;     // the engine's code for the unit
};

// Rates below the first unit use the second one, where they become 0.
constexpr Band bands[] = {
    {64, 8128, 64, 0},
    {INT32_MIN, 130048, 1024, 1},
    {130049, 1300480, 10240, 2},
};

const Band *bandOf(int32_t rate)
{
    for (const Band &band : bands)
        if (rate >= band.lowest && rate <= band.highest)
            return &band;
    return nullptr;
}

} // namespace

extern "C" int pseRateLimitConfigure(Switch *sw, const void *payload)
{
    if (sw == nullptr || payload == nullptr)
        return statusFailed;
    const auto limit = recordOf<SwCmdRateLimit>(payload);
    const auto port = static_cast<int>(limit.portNumber);
    if (switchPortByNumberGet(sw, port) == nullptr) {
        LOG_ERROR(switchStrGet(sw), "Failed to find port (%d). \n", port);
        return statusFailed;
    }
    int value = 0;
    int unitCode = 0;
    if (limit.limitCmd == SW_RATE_LIMIT_APPLY) {
        const Band *band = bandOf(limit.rateLimit);
        if (band == nullptr) {
            LOG_ERROR(switchStrGet(sw), "Switch can't configure this rate (%dkbps) \n",
                      limit.rateLimit);
            return statusFailed;
        }
        value = limit.rateLimit / band->unit;
        unitCode = band->code;
    } else if (limit.limitCmd != SW_RATE_LIMIT_REMOVE) {
        LOG_ERROR(switchStrGet(sw), "Invalid cmd (%d) to configure rate limiting\n",
                  limit.limitCmd);
        return statusFailed;
    }
    const int status = TOOL_RUN("rate_limit_func set %d %d %d", port, value, unitCode);
    if (status != 0)
        LOG_ERROR(switchStrGet(sw), "rate limit configuration failed \n");
    return status;
}
