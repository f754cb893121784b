// Adding, applying, disabling and detaching switches. Each command goes to one switch; passing
// it down the hierarchy is up to the backend.
#include "config/switch_config.h"

#include "backends/backends.h"
#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "switch/command.h"
#include "switch/port.h"
#include "switch/registry.h"
#include "vlan/vlan.h"

#include <cstring>

namespace {

// A switch-wide setting, sent at the start of a payload area.
struct Setting {
    int cmd;
    uint32_t length; // 1 sends only the low byte
    int32_t Switch::*value;
    const char *message; // with one %s for the switch's name
};

// In sending order.
constexpr Setting settings[] = {
    {SW_CMD_VLAN_ENABLE, commandAreaLength, &Switch::vlanEnable, "Failed to enable VLAN in %s \n"},
    {SW_CMD_QOS_ENABLE, 4, &Switch::qosEnable, "Failed to enable QoS in %s \n"},
    {SW_CMD_PAUSE_FRAME, 4, &Switch::pauseFrameEnable, "Failed to enable pause frames in %s \n"},
    {SW_CMD_IGMP_SNOOP, 1, &Switch::igmpSnoopingEnable,
     "Failed to configure igmp snooping in %s \n"},
    {SW_CMD_MLD_SNOOP, 1, &Switch::mldSnoopingEnable, "Failed to configure mld snooping in %s \n"},
};

} // namespace

extern "C" int switchConfAdd(const SwitchGlobalCfg *cfg)
{
    Switch *sw = switchCreate(cfg);
    if (sw == nullptr) {
        LOG_ERROR(noLabel, "Failed to create switch configuration \n");
        return statusInvalid;
    }
    sw->lowerLvlCfgEnable = 1;
    sw->switchIndex = switchNextIndexTake();
    salListInit(&sw->lowerLvlSwitchList);
    salListInit(&sw->portList);
    salListInit(&sw->vlanList);

    int status = switchConfigFuncRegister(sw);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to register %s switch \n", sw->switchName);
        return status;
    }
    status = switchInitialCfgApply(sw);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to apply the configuration \n");
        return status;
    }
    salListNodeAppend(&switchTbl, &sw->link);
    LOG_INFO(switchStrGet(sw), "Added switch configuration.\n");
    return 0;
}

extern "C" int switchInitialCfgApply(Switch *sw)
{
    if (sw == nullptr)
        return statusFailed;
    for (const Setting &setting : settings) {
        alignas(int32_t) uint8_t area[commandAreaLength] = {};
        memcpy(area, &(sw->*setting.value), sizeof(int32_t));
        if (switchCommandSend(*sw, setting.cmd, area, setting.length) < 0) {
            LOG_ERROR(noLabel, setting.message, sw->switchName);
            return statusFailed;
        }
    }
    return 0;
}

extern "C" int switchCfgApply(Switch *sw)
{
    int status = switchInitialCfgApply(sw);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed apply configuration of %s \n",
                  sw != nullptr ? sw->switchName : "");
        return status;
    }
    status = switchPortCfgApply(sw, /*port=*/nullptr);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to apply switch port configuration \n");
        return status;
    }
    status = switchVlanCfgApply(sw, /*vlan=*/nullptr);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to apply switch vlan configuration \n");
        return status;
    }
    return 0;
}

extern "C" int switchCfgDisable(Switch *sw)
{
    if (sw == nullptr)
        sw = switchAtTopLevelGet();
    if (sw == nullptr)
        return statusFailed;
    const int status = switchAllVlansDisable(sw);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to disable vlan configuration in %s\n", sw->switchName);
        return status;
    }
    return 0;
}

extern "C" int switchDeinit(const char *name)
{
    Switch *sw = switchByNameGet(name);
    if (sw == nullptr) {
        LOG_ERROR(noLabel, "Failed to find switch profile for %s \n", name != nullptr ? name : "");
        return statusInvalid;
    }
    int status = switchConfigFuncUnRegister(sw);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to unregister %s switch \n", sw->switchName);
        return status;
    }
    status = switchDestroy(sw);
    if (status < 0)
        LOG_ERROR(noLabel, "Failed to destroy the switch %s\n", sw->switchName);
    return status;
}
