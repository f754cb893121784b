// Diagnostics that print the chip's tables to standard output. No command uses them.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// Prints the maps of one VLAN, with "?" for a port that cannot be queried. Always returns -1.
// The first argument is ignored.
SWMGR_API int bcmVlanShow(void *unused, uint16_t vlanId);

// Prints the default tag of every port. Returns -1 if the query of the last port failed, else
// 0.
SWMGR_API int bcmTagsShow(void);
}
