// VLAN objects of a switch: created, updated, disabled, deleted, applied. All
// of it reaches the hardware as commands to the owning switch.
#pragma once

#include "model/command.h"
#include "model/vlan.h"
#include "swmgr/swmgr.h"

// Operations of switchPortVlanConfigure, numbered like the requests.
constexpr int32_t portVlanAdd = SW_CMD_VLAN_ADD;
constexpr int32_t portVlanDelete = SW_CMD_VLAN_DELETE;

extern "C" {
// Makes a VLAN of `sw` out of an image and applies it. 0; -22 when the switch
// holds that VLAN id; -12 without memory; else the negative status of the step
// that failed, after which the VLAN is not listed.
[[nodiscard]] SWMGR_API int switchVlanCreate(Switch *sw, const SwitchVlan *image);

// Gives a listed VLAN the contents of `image` (same owner), moves it to the end
// of the list and applies it. 0 or the negative status of the step that failed.
[[nodiscard]] SWMGR_API int switchVlanUpdate(SwitchVlan *vlan, const SwitchVlan *image);

// Disables a VLAN, applies the empty maps and frees it. 0; -22 for none; else
// the negative status of the step that failed, after which the VLAN stays.
[[nodiscard]] SWMGR_API int switchVlanDelete(SwitchVlan *vlan);

// Empties the maps of a VLAN in its switch; it stays listed. On return the
// switch hands commands on again. 0 or the negative status of a command.
[[nodiscard]] SWMGR_API int switchVlanDisable(SwitchVlan *vlan);

// Disables every VLAN of `sw`; failures are logged and passed over. Always 0.
SWMGR_API int switchAllVlansDisable(Switch *sw);

// Reconfigures the ports of `sw`, then writes `vlan`, or every VLAN of `sw` in
// list order when none is given. 0 or the first negative status.
[[nodiscard]] SWMGR_API int switchVlanCfgApply(Switch *sw, SwitchVlan *vlan);

// Announces the port VLAN of a VLAN that stays inside the switch; does nothing
// for others. `operation` is 36 (add) or 38 (delete). 0 or -1.
SWMGR_API int switchPortVlanConfigure(SwitchVlan *vlan, int32_t operation);

// Tells the switch the maps of `vlan`, so that it can adjust its other VLANs.
// The backend's status.
[[nodiscard]] SWMGR_API int switchVlanMembershipUpdate(const SwitchVlan *vlan);

// The first VLAN of `sw` with that id, or none.
[[nodiscard]] SWMGR_API SwitchVlan *switchVlanByIdGet(Switch *sw, int32_t vlanId);

// The first VLAN of `sw` with exactly that name, or none.
[[nodiscard]] SWMGR_API SwitchVlan *switchVlanByNameGet(Switch *sw, const char *name);

// The index that the next VLAN gets; it stays the same until it is consumed.
[[nodiscard]] SWMGR_API int32_t switchNextVlanIndexGet(void);

// Consumes the index.
SWMGR_API void switchVlanIndexIncr(void);
}
