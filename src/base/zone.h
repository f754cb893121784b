// The zone of a Linux interface: which side of the gateway it faces.
#pragma once

#include "swmgr/swmgr.h"

constexpr int32_t zoneOther = 0;
constexpr int32_t zoneLan = 1; // "eth0"
constexpr int32_t zoneWan = 2; // "eth1"

// Stores the zone of `ifName` (exact, case-sensitive) in `zoneType`. Always returns 0.
extern "C" SWMGR_API int swMgrZoneTypeGet(const char *ifName, int32_t *zoneType);
