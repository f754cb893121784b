// Configuration records, decoded from the rows of the database; fields are
// named after the columns. The third record, SwitchVlanCfg, also travels in
// requests and stands with them in swmgr_client.h.
#pragma once

#include "swmgr/swmgr_client.h"

#include <cstdint>

// A row of swGlobalCfg: one switch.
struct SwitchGlobalCfg {
    char switchName[64];        // also selects the backend
    char switchDevice[128];     // device node
    int32_t vlanEnable;         // 802.1Q VLANs: 0 off, 1 on
    int32_t qosEnable;          // 0 off, 1 on
    int32_t numPorts;           // ports of the device; kept, not used
    int32_t pauseFrameEnable;   // 1 on, any other value off
    int32_t igmpSnoopingEnable; // 0 off, 1 on; the low byte counts
    int32_t mldSnoopingEnable;  // 0 off, 1 on; the low byte counts
    int32_t switchLevel;        // higher is nearer the top
};

// A row of swPortConfig: one port of a switch.
struct SwitchPortCfg {
    char switchName[64];    // owner; must exist already
    int32_t portNumber;     // unique within the switch
    int32_t PVID;           // VLAN of untagged frames until a VLAN is untagged on the port
    int32_t portType;       // kept, not used
    int32_t mirroring;      // kept, not used
    int32_t trustMode;      // SW_TRUST_MODE_...
    char interfaceName[64]; // kept, not used
    char phyDevice[64];     // "switchName:portNumber,..." of the ports below
    int32_t rateLimit;      // kbit/s
    int32_t schedMode;      // SW_SCHED_MODE_...
    int32_t numQueues;      // 1, 2 or 4
    int32_t queue1Weight;   // share of the bandwidth, as those of the other queues
    int32_t queue2Weight;
    int32_t queue3Weight;
    int32_t queue4Weight;
};
