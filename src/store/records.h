// Configuration records, decoded from the rows of the database; fields are
// named after the columns. The third record, SwitchVlanCfg, also travels in
// requests and stands with them in swmgr_client.h.
#pragma once

#include "swmgr/swmgr_client.h"

#include <cstdint>

// A row of swGlobalCfg: one switch.
struct SwitchGlobalCfg {
    char switchName[64];    // also selects the backend
    char switchDevice[128]; // device node
    int32_t vlanEnable;
    int32_t qosEnable;
    int32_t numPorts;
    int32_t pauseFrameEnable;
    int32_t igmpSnoopingEnable;
    int32_t mldSnoopingEnable;
    int32_t switchLevel; // higher is nearer the top
};

// A row of swPortConfig: one port of a switch.
struct SwitchPortCfg {
    char switchName[64]; // owner; must exist already
    int32_t portNumber;
    int32_t PVID;
    int32_t portType;
    int32_t mirroring;
    int32_t trustMode; // 0 to 4
    char interfaceName[64];
    char phyDevice[64]; // "switchName:portNumber,..." of the ports below
    int32_t rateLimit;  // kbit/s
    int32_t schedMode;
    int32_t numQueues;
    int32_t queue1Weight;
    int32_t queue2Weight;
    int32_t queue3Weight;
    int32_t queue4Weight;
};
