// The Linux 802.1Q sub-interface of a VLAN, made and removed with the device's
// tools. For a name that may not stand in a command line no tool is run, and each counts as
// one that reported failure (1); without a name as one that could not be run (-1).
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// Makes the sub-interface `interfaceName`.`vlanId` anew, brings it up, records
// the uptime and maps each priority onto itself. The status of the tool's add
// when that is not 0, else that of the last egress map.
[[nodiscard]] SWMGR_API int switchVlanEncapCreate(const char *interfaceName, int32_t vlanId);

// Removes the sub-interface and its uptime record. The tool's status.
[[nodiscard]] SWMGR_API int switchVlanEncapDestroy(const char *interfaceName, int32_t vlanId);

// Map one priority (0 to 7) of a sub-interface onto itself. The tool's status.
[[nodiscard]] SWMGR_API int switchVlanEncapIngressCoSMapConfig(const char *subInterface,
                                                               int32_t priority);
[[nodiscard]] SWMGR_API int switchVlanEncapEgressCoSMapConfig(const char *subInterface,
                                                              int32_t priority);
}
