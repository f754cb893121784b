// VLAN objects, and the order of commands for each change.
#include "vlan/vlan.h"

#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "platform/list_of.h"
#include "switch/command.h"
#include "switch/port.h"

#include <cstdlib>
#include <cstring>

namespace {

constinit int32_t vlanIndexCounter = 3; // the first VLAN gets index 4

int vlanCommandSend(Switch &sw, int cmd, const SwitchVlan &vlan)
{
    return switchCommandSend(sw, cmd, &vlan, switchVlanRecordLength);
}

int membershipSet(Switch &sw, const SwitchVlan &vlan, const char *func)
{
    LOG_AT(SWMGR_LOG_NOTICE, swVlanStrGet(&vlan), func, __LINE__, "Applying VLAN Configuration.\n");
    const int status = vlanCommandSend(sw, SW_CMD_VLAN_MEMBERSHIP_SET, vlan);
    if (status < 0)
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__, "Failed to apply configuration in %s\n",
               sw.switchName);
    return status;
}

// A VLAN that was just added or changed is last in the list, so check there first.
bool isListed(Switch &sw, const SwitchVlan &vlan)
{
    if (sw.vlanList.last == &vlan.link)
        return true;
    for (const SwitchVlan &listed : ListOf<SwitchVlan>(sw.vlanList))
        if (&listed == &vlan)
            return true;
    return false;
}

// The result is ignored because no backend acts on port VLANs.
void portVlanAnnounce(SwitchVlan &vlan, int32_t operation)
{
    static_cast<void>(switchPortVlanConfigure(&vlan, operation));
}

int disableInSwitch(Switch &sw, SwitchVlan &vlan, const char *func)
{
    LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__, "Disabling Vlan%d in %s\n", vlan.vlanId,
           sw.switchName);
    vlan.untagMap = 0;
    vlan.fwdMap = 0;
    sw.lowerLvlCfgEnable = 0;
    int status = switchVlanMembershipUpdate(&vlan);
    if (status < 0) {
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__,
               "Failed to update vlan membership in %s for ID=%d\n", sw.switchName, vlan.vlanId);
        return status;
    }
    status = vlanCommandSend(sw, SW_CMD_VLAN_MEMBERSHIP_SET, vlan);
    if (status < 0) {
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__,
               "Failed to configure vlan membership in %s for ID=%d\n", sw.switchName, vlan.vlanId);
        return status;
    }
    sw.lowerLvlCfgEnable = 1;
    return 0;
}

} // namespace

extern "C" int switchVlanCreate(Switch *sw, const SwitchVlan *image)
{
    if (sw == nullptr || image == nullptr)
        return statusInvalid;
    if (switchVlanByIdGet(sw, image->vlanId) != nullptr) {
        LOG_ERROR(switchStrGet(sw), "This VLAN Id is already exists \n");
        return statusInvalid;
    }
    auto *vlan = static_cast<SwitchVlan *>(calloc(1, sizeof(SwitchVlan)));
    if (vlan == nullptr) {
        LOG_ERROR(switchStrGet(sw), "VLAN Memory allocation failed \n");
        return statusNoMemory;
    }
    *vlan = *image;
    vlan->ownerSwitch = sw;
    int status = switchVlanMembershipUpdate(vlan);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "Failed to configure initial configuration of vlan.\n");
        free(vlan);
        return status;
    }
    salListNodeAppend(&sw->vlanList, &vlan->link);
    if (vlan->inSwitchOnly != 0)
        portVlanAnnounce(*vlan, portVlanAdd);
    status = switchVlanCfgApply(sw, vlan);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "Failed to apply switch vlan configuration \n");
        salListNodeRemove(&sw->vlanList, &vlan->link);
        free(vlan);
        return status;
    }
    return 0;
}

extern "C" int switchVlanUpdate(SwitchVlan *vlan, const SwitchVlan *image)
{
    if (vlan == nullptr || image == nullptr)
        return statusInvalid;
    Switch *sw = vlan->ownerSwitch;
    if (vlan->inSwitchOnly != 0)
        portVlanAnnounce(*vlan, portVlanDelete);
    int status = switchVlanMembershipUpdate(image);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "Failed to configure initial configuration of vlan.\n");
        return status;
    }
    LOG_INFO(switchStrGet(sw), "updated membership of vlan ID=%d\n", image->vlanId);
    salListNodeRemove(&sw->vlanList, &vlan->link);
    *vlan = *image;
    salListNodeAppend(&sw->vlanList, &vlan->link);
    if (vlan->inSwitchOnly != 0)
        portVlanAnnounce(*vlan, portVlanAdd);
    status = switchVlanCfgApply(sw, vlan);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "Failed to apply switch vlan configuration \n");
        return status;
    }
    LOG_INFO(swVlanStrGet(vlan), "Successfully processed DB Update on  VLAN configuration.\n");
    return 0;
}

extern "C" int switchVlanDelete(SwitchVlan *vlan)
{
    if (vlan == nullptr)
        return statusInvalid;
    Switch *sw = vlan->ownerSwitch;
    int status = switchVlanDisable(vlan);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to disable VLAN in switch \n");
        return status;
    }
    status = switchVlanCfgApply(sw, vlan);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "Failed to apply switch vlan configuration \n");
        return status;
    }
    salListNodeRemove(&sw->vlanList, &vlan->link);
    free(vlan);
    return 0;
}

extern "C" int switchVlanDisable(SwitchVlan *vlan)
{
    if (vlan == nullptr)
        return statusInvalid;
    Switch &sw = *vlan->ownerSwitch;
    if (vlan->inSwitchOnly != 0)
        portVlanAnnounce(*vlan, portVlanDelete);
    int status = 0;
    for (SwitchVlan &listed : ListOf<SwitchVlan>(sw.vlanList)) {
        if (listed.vlanId != vlan->vlanId)
            continue;
        status = disableInSwitch(sw, listed, __func__);
        if (status < 0)
            break;
    }
    // Even after a failure, and whatever the caller had set.
    sw.lowerLvlCfgEnable = 1;
    return status;
}

extern "C" int switchAllVlansDisable(Switch *sw)
{
    if (sw == nullptr)
        return 0;
    for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw->vlanList))
        static_cast<void>(switchVlanDisable(&vlan)); // failures are logged there
    return 0;
}

extern "C" int switchVlanCfgApply(Switch *sw, SwitchVlan *vlan)
{
    if (sw == nullptr)
        return statusInvalid;
    int status = switchPortVlanInfoConfigure(sw, /*port=*/nullptr);
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to configure ports in %s\n", sw->switchName);
        return status;
    }
    if (vlan != nullptr) {
        status = isListed(*sw, *vlan) ? membershipSet(*sw, *vlan, __func__) : 0;
        return status < 0 ? status : 0;
    }
    for (const SwitchVlan &listed : ListOf<SwitchVlan>(sw->vlanList)) {
        status = membershipSet(*sw, listed, __func__);
        if (status < 0)
            return status;
    }
    return 0;
}

extern "C" int switchPortVlanConfigure(SwitchVlan *vlan, int32_t operation)
{
    if (vlan == nullptr)
        return statusFailed;
    if (vlan->inSwitchOnly == 0)
        return 0;
    int cmd = 0;
    if (operation == portVlanAdd)
        cmd = SW_CMD_PORT_VLAN_ADD;
    else if (operation == portVlanDelete)
        cmd = SW_CMD_PORT_VLAN_DELETE;
    else
        return statusFailed;
    if (vlanCommandSend(*vlan->ownerSwitch, cmd, *vlan) < 0) {
        LOG_ERROR(swVlanStrGet(vlan), "Failed to configure port vlan for ID=%d\n", vlan->vlanId);
        return statusFailed;
    }
    return 0;
}

extern "C" int switchVlanMembershipUpdate(const SwitchVlan *vlan)
{
    if (vlan == nullptr)
        return statusInvalid;
    Switch &sw = *vlan->ownerSwitch;
    const int status = vlanCommandSend(sw, SW_CMD_VLAN_MEMBERSHIP_UPDATE, *vlan);
    if (status < 0)
        LOG_ERROR(swVlanStrGet(vlan), "Failed to update vlan%d membership in %s\n", vlan->vlanId,
                  sw.switchName);
    return status;
}

extern "C" SwitchVlan *switchVlanByIdGet(Switch *sw, int32_t vlanId)
{
    if (sw == nullptr)
        return nullptr;
    for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw->vlanList))
        if (vlan.vlanId == vlanId)
            return &vlan;
    return nullptr;
}

extern "C" SwitchVlan *switchVlanByNameGet(Switch *sw, const char *name)
{
    if (sw == nullptr || name == nullptr)
        return nullptr;
    for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw->vlanList))
        if (strcmp(vlan.vlanName, name) == 0)
            return &vlan;
    return nullptr;
}

extern "C" int32_t switchNextVlanIndexGet(void)
{
    return vlanIndexCounter + 1;
}

extern "C" void switchVlanIndexIncr(void)
{
    ++vlanIndexCounter;
}
