// Trust mode of a port: which field of a frame decides its priority.
#include "backends/pse/payload.h"
#include "backends/pse/settings.h"
#include "service/labels.h"
#include "service/log.h"
#include "service/tool.h"
#include "switch/records.h"

namespace {

constexpr int trustModes = 5;

// Position of the one flag that is set, by trust mode.
constexpr int flagOf[trustModes] = {0, 3, 2, 4, 1};

} // namespace

extern "C" int pseTrustModeConfigure(Switch *sw, const void *payload)
{
    if (sw == nullptr || payload == nullptr)
        return statusFailed;
    const auto mode = recordOf<SwCmdTrustMode>(payload);
    LOG_INFO(switchStrGet(sw), "Configuring TrustMode\n");
    if (mode.trustMode < 0 || mode.trustMode >= trustModes) {
        LOG_ERROR(switchStrGet(sw), "Invalid TrustMode value (%d) ", mode.trustMode);
        return statusFailed;
    }
    int flags[trustModes] = {};
    flags[flagOf[mode.trustMode]] = 1;
    const int status = TOOL_RUN("pri_ctl_func set %d %d %d %d %d %d", mode.portNumber, flags[0],
                                flags[1], flags[2], flags[3], flags[4]);
    LOG_INFO(switchStrGet(sw), "Trust Mode configuration (%s) \n",
             status == 0 ? "Success" : "Failed");
    return status;
}
