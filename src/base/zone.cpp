// The fixed mapping of interfaces to zones.
#include "base/zone.h"

#include <cstring>

extern "C" int swMgrZoneTypeGet(const char *ifName, int32_t *zoneType)
{
    if (zoneType == nullptr)
        return 0;
    *zoneType = zoneOther;
    if (ifName == nullptr)
        return 0;
    if (strcmp(ifName, "eth1") == 0)
        *zoneType = zoneWan;
    else if (strcmp(ifName, "eth0") == 0)
        *zoneType = zoneLan;
    return 0;
}
