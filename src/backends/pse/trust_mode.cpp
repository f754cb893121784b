// A port's trust mode: the field of a frame that determines its priority.
#include "backends/pse/settings.h"
#include "base/labels.h"
#include "base/log.h"
#include "base/tool.h"
#include "model/command.h"
#include "model/status.h"
#include "switch/payload.h"

namespace {

// The mode that sets each of the five flags, in the order of the tool's arguments.
constexpr int32_t modeOfFlag[SW_TRUST_MODE_COUNT] = {SW_TRUST_MODE_FLAG_1, SW_TRUST_MODE_FLAG_2,
                                                     SW_TRUST_MODE_FLAG_3, SW_TRUST_MODE_FLAG_4,
                                                     SW_TRUST_MODE_FLAG_5};

} // namespace

extern "C" int pseTrustModeConfigure(Switch *sw, const void *payload)
{
    if (payload == nullptr)
        return statusFailed;
    const auto mode = recordOf<SwCmdTrustMode>(payload);
    LOG_INFO(switchStrGet(sw), "Configuring TrustMode\n");
    if (mode.trustMode < 0 || mode.trustMode >= SW_TRUST_MODE_COUNT) {
        LOG_ERROR(switchStrGet(sw), "Invalid TrustMode value (%d) ", mode.trustMode);
        return statusFailed;
    }
    int flags[SW_TRUST_MODE_COUNT];
    for (int i = 0; i < SW_TRUST_MODE_COUNT; ++i)
        flags[i] = modeOfFlag[i] == mode.trustMode ? 1 : 0;
    const int status = TOOL_RUN("pri_ctl_func set %d %d %d %d %d %d", mode.portNumber, flags[0],
                                flags[1], flags[2], flags[3], flags[4]);
    LOG_INFO(switchStrGet(sw), "Trust Mode configuration (%s) \n",
             status == 0 ? "Success" : "Failed");
    return status;
}
