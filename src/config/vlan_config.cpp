// Configures each VLAN switch by switch. Every switch gets its own object and its own commands,
// so switches do not pass commands on meanwhile.
#include "config/vlan_config.h"

#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "platform/list_of.h"
#include "platform/text.h"
#include "switch/registry.h"
#include "vlan/encap.h"
#include "vlan/vlan.h"

namespace {

// Keeps a switch from passing commands on within a scope.
class ForwardingOff {
public:
    explicit ForwardingOff(Switch &quiet) : sw(quiet) { sw.lowerLvlCfgEnable = 0; }
    ~ForwardingOff() { sw.lowerLvlCfgEnable = 1; }
    ForwardingOff(const ForwardingOff &) = delete;
    ForwardingOff &operator=(const ForwardingOff &) = delete;

private:
    Switch &sw;
};

int vlanUpdate(SwitchVlan &vlan, const SwitchVlanCfg &cfg)
{
    SwitchVlan image = vlan;
    const int status = switchVlanConfParamsAssign(&image, &cfg);
    return status < 0 ? status : switchVlanUpdate(&vlan, &image);
}

} // namespace

extern "C" int switchVlanConfigure(Switch *, int32_t cmd, SwitchVlanCfg *cfg)
{
    switch (cmd) {
    case SW_CMD_VLAN_ADD:
        static_cast<void>(switchVlanConfAdd(cfg)); // the requester is not notified
        return 0;
    case SW_CMD_VLAN_DELETE:
        static_cast<void>(switchVlanConfDelete(cfg)); // the requester is not notified
        return 0;
    default:
        return statusFailed;
    }
}

extern "C" int switchVlanConfAdd(SwitchVlanCfg *cfg)
{
    if (cfg == nullptr)
        return statusFailed;
    cfg->vlanIndex = switchNextVlanIndexGet();
    for (Switch &sw : ListOf<Switch>(switchTbl)) {
        const ForwardingOff off(sw);
        const int status = switchVlanByConfCreate(&sw, cfg);
        if (status < 0)
            return status;
    }
    const int status = switchVlanEncapCreate(cfg->interfaceName, cfg->vlanId);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to apply configuration in %s \n", cfg->interfaceName);
        return status;
    }
    switchVlanIndexIncr();
    return 0;
}

extern "C" int switchVlanConfUpdate(const SwitchVlanCfg *newCfg, const SwitchVlanCfg *oldCfg)
{
    if (newCfg == nullptr || oldCfg == nullptr)
        return statusFailed;
    for (Switch &sw : ListOf<Switch>(switchTbl)) {
        {
            const ForwardingOff off(sw);
            SwitchVlan *vlan = switchVlanByIdGet(&sw, oldCfg->vlanId);
            if (vlan == nullptr)
                continue;
            if (vlanUpdate(*vlan, *newCfg) < 0) {
                LOG_ERROR(switchStrGet(&sw), "Failed to update switch vlan configuration \n");
                return statusFailed;
            }
        }
        LOG_INFO(switchStrGet(&sw), "updated switch vlan (%d) configuration.\n", newCfg->vlanId);
    }
    return 0;
}

extern "C" int switchVlanConfDelete(const SwitchVlanCfg *cfg)
{
    if (cfg == nullptr)
        return statusFailed;
    for (Switch &sw : ListOf<Switch>(switchTbl)) {
        {
            const ForwardingOff off(sw);
            SwitchVlan *vlan = switchVlanByIdGet(&sw, cfg->vlanId);
            if (vlan == nullptr)
                continue;
            if (switchVlanDelete(vlan) < 0) {
                LOG_ERROR(switchStrGet(&sw), "Failed to delete vlan (ID=%d)\n", cfg->vlanId);
                return statusFailed;
            }
        }
        LOG_INFO(switchStrGet(&sw), "Deleted vlan (ID=%d).\n", cfg->vlanId);
    }
    const int status = switchVlanEncapDestroy(cfg->interfaceName, cfg->vlanId);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to delete encap interface for vlan ID=%d\n", cfg->vlanId);
        return status;
    }
    return 0;
}

extern "C" int switchVlanByConfCreate(Switch *sw, const SwitchVlanCfg *cfg)
{
    SwitchVlan image{};
    int status = switchVlanConfParamsAssign(&image, cfg);
    if (status < 0)
        return status;
    image.ownerSwitch = sw;
    image.vlanIndex = cfg->vlanIndex;
    status = switchVlanCreate(sw, &image);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "Failed to create vlan (ID=%d)\n", cfg->vlanId);
        return statusFailed;
    }
    LOG_INFO(switchStrGet(sw), "Created switch vlan (ID=%d)\n", cfg->vlanId);
    return status;
}

extern "C" int switchVlanConfParamsAssign(SwitchVlan *image, const SwitchVlanCfg *cfg)
{
    if (image == nullptr || cfg == nullptr)
        return statusFailed;
    LOG_DEVELOPER(noLabel, "Copying params for %d VLAN\n", cfg->vlanId);
    image->vlanId = cfg->vlanId;
    image->inSwitchOnly = cfg->inSwitchOnly;
    image->fwdMap = cfg->fwdMap;
    image->untagMap = cfg->untagMap;
    textCopy(image->vlanName, cfg->vlanName);
    textCopy(image->interfaceName, cfg->interfaceName);
    textCopy(image->LogicalIfName, cfg->LogicalIfName);
    return 0;
}
