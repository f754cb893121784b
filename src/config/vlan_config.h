// From a VLAN's configuration record to its objects, one in every switch, and
// its Linux sub-interface; and back.
#pragma once

#include "model/switch.h"
#include "model/vlan.h"
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

extern "C" {
// Requests 36 (add) and 38 (delete). 0 whatever the outcome, which has been logged; -1 for
// any other command. `sw` is not used.
[[nodiscard]] SWMGR_API int switchVlanConfigure(Switch *sw, int32_t cmd, SwitchVlanCfg *cfg);

// Adds a VLAN everywhere and writes its index into the record. 0; -1 for none;
// else the negative status of the step that failed.
[[nodiscard]] SWMGR_API int switchVlanConfAdd(SwitchVlanCfg *cfg);

// Gives the VLAN with the id of `oldCfg` the values of `newCfg` in every switch
// that has it. The sub-interface is left alone. 0 or -1.
[[nodiscard]] SWMGR_API int switchVlanConfUpdate(const SwitchVlanCfg *newCfg,
                                                 const SwitchVlanCfg *oldCfg);

// Deletes a VLAN everywhere. 0; -1 when a switch refuses; else the negative
// status of the sub-interface's removal.
[[nodiscard]] SWMGR_API int switchVlanConfDelete(const SwitchVlanCfg *cfg);

// Creates the VLAN's object in one switch. 0 or -1.
[[nodiscard]] SWMGR_API int switchVlanByConfCreate(Switch *sw, const SwitchVlanCfg *cfg);

// Copies what a record says into an object image; link, index, owner and the
// map texts stay. 0; -1 when either is none.
[[nodiscard]] SWMGR_API int switchVlanConfParamsAssign(SwitchVlan *image, const SwitchVlanCfg *cfg);
}
