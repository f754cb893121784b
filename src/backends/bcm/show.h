// Diagnostic printers of the chip's tables, to standard output. No command
// reaches them.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// Prints the maps of one VLAN; a port that cannot be queried is shown with "?".
// Always -1. The first argument plays no part.
SWMGR_API int bcmVlanShow(void *unused, uint16_t vlanId);

// Prints the default tag of every port. -1 if the last port's query failed, else 0.
SWMGR_API int bcmTagsShow(void);
}
