// Turning QoS on or off controls the engine's rate limiter as a whole.
#include "backends/pse/settings.h"
#include "base/labels.h"
#include "base/log.h"
#include "base/tool.h"
#include "model/status.h"
#include "switch/payload.h"

extern "C" int pseQoSConfigure(Switch *sw, const void *payload)
{
    if (payload == nullptr)
        return statusFailed;
    const auto enable = recordOf<int32_t>(payload);
    LOG_INFO(switchStrGet(sw), "Configuring QoS [Status:%d] \n", enable);
    if (enable != 0 && enable != 1)
        return statusFailed;
    const int status = TOOL_RUN("sppe_ioctl rl %s", enable == 1 ? "enable" : "disable");
    LOG_INFO(switchStrGet(sw), "QoS configuration (%s) \n", status == 0 ? "Success" : "Failed");
    return status;
}
