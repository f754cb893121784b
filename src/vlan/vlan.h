// The VLANs of a switch: creating, updating, disabling, deleting and applying them. All of this
// reaches the hardware as commands to the owning switch.
#pragma once

#include "model/command.h"
#include "model/vlan.h"
#include "swmgr/swmgr.h"

// Operations of switchPortVlanConfigure, numbered like the request types.
constexpr int32_t portVlanAdd = SW_CMD_VLAN_ADD;
constexpr int32_t portVlanDelete = SW_CMD_VLAN_DELETE;

extern "C" {
// Creates a VLAN of `sw` from an image and applies it. Returns 0; -22 if the switch already has
// that VLAN id; -12 if memory runs out; else the negative status of the failed step, after
// which the VLAN is not listed.
[[nodiscard]] SWMGR_API int switchVlanCreate(Switch *sw, const SwitchVlan *image);

// Gives a listed VLAN the contents of `image` (same owner), moves it to the end of the list and
// applies it. Returns 0 or the negative status of the failed step.
[[nodiscard]] SWMGR_API int switchVlanUpdate(SwitchVlan *vlan, const SwitchVlan *image);

// Disables a VLAN, applies the empty maps and frees it. Returns 0; -22 for null; else the
// negative status of the failed step, after which the VLAN still exists.
[[nodiscard]] SWMGR_API int switchVlanDelete(SwitchVlan *vlan);

// Empties the maps of a VLAN in its switch; it stays listed. Afterwards the switch passes
// commands on to lower switches again. Returns 0 or the negative status of a command.
[[nodiscard]] SWMGR_API int switchVlanDisable(SwitchVlan *vlan);

// Disables every VLAN of `sw`; failures are logged and skipped. Always returns 0.
SWMGR_API int switchAllVlansDisable(Switch *sw);

// Reconfigures the ports of `sw`, then writes `vlan`, or every VLAN of `sw` in list order if it
// is null. Returns 0 or the first negative status.
[[nodiscard]] SWMGR_API int switchVlanCfgApply(Switch *sw, SwitchVlan *vlan);

// Announces the port VLAN of a VLAN that stays inside the switch; does nothing for others.
// `operation` is 36 (add) or 38 (delete). Returns 0 or -1.
SWMGR_API int switchPortVlanConfigure(SwitchVlan *vlan, int32_t operation);

// Sends the maps of `vlan` to the switch, so that it can adjust its other VLANs. Returns the
// backend's status.
[[nodiscard]] SWMGR_API int switchVlanMembershipUpdate(const SwitchVlan *vlan);

// The first VLAN of `sw` with that id, or null.
[[nodiscard]] SWMGR_API SwitchVlan *switchVlanByIdGet(Switch *sw, int32_t vlanId);

// The first VLAN of `sw` with exactly that name, or null.
[[nodiscard]] SWMGR_API SwitchVlan *switchVlanByNameGet(Switch *sw, const char *name);

// The index for the next VLAN; it does not change until it is consumed.
[[nodiscard]] SWMGR_API int32_t switchNextVlanIndexGet(void);

// Consumes the index.
SWMGR_API void switchVlanIndexIncr(void);
}
