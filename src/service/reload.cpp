// The loading order matters: a port needs its switch and the ports it maps onto, and a VLAN is
// created in every existing switch.
#include "service/reload.h"

#include "base/log.h"
#include "config/switch_config.h"
#include "model/status.h"
#include "store/load.h"
#include "switch/registry.h"

namespace {

struct Step {
    int (*run)();
    const char *message; // logged if the step fails
};

constexpr Step steps[] = {
    {switchCfgLoad, "Failed to load switch configuration \n"},
    {switchPortCfgLoad, "Failed to load switch port configuration \n"},
    {switchVlanCfgLoad, "Failed to load switch vlan configuration \n"},
    {swMgrCfgApply, "Failed to apply switch configuration \n"},
};

} // namespace

extern "C" int swMgrCfgReload(void)
{
    // The first time there is no switch yet, which is not a failure.
    static_cast<void>(switchCfgDisable(nullptr));
    static_cast<void>(switchLibDeinit());
    static_cast<void>(switchLibInit());
    for (const Step &step : steps) {
        const int status = step.run();
        if (status < 0) {
            LOG_ERROR(noLabel, "%s", step.message);
            return status;
        }
    }
    return 0;
}

extern "C" int swMgrCfgApply(void)
{
    Switch *top = switchAtTopLevelGet();
    if (top == nullptr) {
        LOG_ERROR(noLabel, "Failed to find switch configuration to load. \n");
        return statusFailed;
    }
    return switchCfgApply(top);
}
