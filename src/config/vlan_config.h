// A VLAN as configured: its objects, one in every switch, and its Linux sub-interface.
#pragma once

#include "model/switch.h"
#include "model/vlan.h"
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

extern "C" {
// Requests 36 (add) and 38 (delete). Returns 0 whatever the outcome, which is logged; -1 for
// any other command. `sw` is ignored.
[[nodiscard]] SWMGR_API int switchVlanConfigure(Switch *sw, int32_t cmd, SwitchVlanCfg *cfg);

// Adds a VLAN everywhere and writes its index to the record. Returns 0; -1 for null; else the
// negative status of the failed step.
[[nodiscard]] SWMGR_API int switchVlanConfAdd(SwitchVlanCfg *cfg);

// Gives the VLAN with the id of `oldCfg` the values of `newCfg` in every switch that has it.
// The sub-interface is left alone. Returns 0 or -1.
[[nodiscard]] SWMGR_API int switchVlanConfUpdate(const SwitchVlanCfg *newCfg,
                                                 const SwitchVlanCfg *oldCfg);

// Deletes a VLAN everywhere. Returns 0; -1 if a switch refuses; else the negative status of
// removing the sub-interface.
[[nodiscard]] SWMGR_API int switchVlanConfDelete(const SwitchVlanCfg *cfg);

// Creates the VLAN's object in one switch. Returns 0 or -1.
[[nodiscard]] SWMGR_API int switchVlanByConfCreate(Switch *sw, const SwitchVlanCfg *cfg);

// Copies a record's values to an object image; link, index, owner and map texts are not
// changed. Returns 0; -1 if either is null.
[[nodiscard]] SWMGR_API int switchVlanConfParamsAssign(SwitchVlan *image, const SwitchVlanCfg *cfg);
}
