// The Linux 802.1Q sub-interface of a VLAN, created and removed with the device's tools. For a
// name that is not allowed in a command line no tool is run, and each counts as failed (1);
// with a null name, as one that could not be run (-1).
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// Recreates the sub-interface `interfaceName`.`vlanId`, brings it up, records the uptime and
// maps each priority to itself. Returns the status of adding it if that is not 0, else the
// status of the last egress map.
[[nodiscard]] SWMGR_API int switchVlanEncapCreate(const char *interfaceName, int32_t vlanId);

// Removes the sub-interface and its uptime record. Returns the tool's status.
[[nodiscard]] SWMGR_API int switchVlanEncapDestroy(const char *interfaceName, int32_t vlanId);

// Map one priority (0 to 7) of a sub-interface to itself. Return the tool's status.
[[nodiscard]] SWMGR_API int switchVlanEncapIngressCoSMapConfig(const char *subInterface,
                                                               int32_t priority);
[[nodiscard]] SWMGR_API int switchVlanEncapEgressCoSMapConfig(const char *subInterface,
                                                              int32_t priority);
}
