// Configuration records, decoded from database rows; fields are named after the columns. The
// third record, SwitchVlanCfg, is also used in requests and therefore defined in
// swmgr_client.h.
#pragma once

#include "swmgr/swmgr_client.h"

#include <cstdint>

// A row of swGlobalCfg: one switch.
struct SwitchGlobalCfg {
    char switchName[64];        // also selects the backend
    char switchDevice[128];     // device node
    int32_t vlanEnable;         // 802.1Q VLANs: 0 off, 1 on
    int32_t qosEnable;          // 0 off, 1 on
    int32_t numPorts;           // number of ports; stored but not used
    int32_t pauseFrameEnable;   // 1 on, anything else off
    int32_t igmpSnoopingEnable; // 0 off, 1 on; only the low byte counts
    int32_t mldSnoopingEnable;  // 0 off, 1 on; only the low byte counts
    int32_t switchLevel;        // the highest is the top level
};

// A row of swPortConfig: one port of a switch.
struct SwitchPortCfg {
    char switchName[64];    // must exist already
    int32_t portNumber;     // unique within the switch
    int32_t PVID;           // VLAN of untagged frames while the port is untagged in no VLAN
    int32_t portType;       // stored but not used
    int32_t mirroring;      // stored but not used
    int32_t trustMode;      // SW_TRUST_MODE_...
    char interfaceName[64]; // stored but not used
    char phyDevice[64];     // lower ports, "switchName:portNumber,..."
    int32_t rateLimit;      // kbit/s
    int32_t schedMode;      // SW_SCHED_MODE_...
    int32_t numQueues;      // 1, 2 or 4
    int32_t queue1Weight;   // share of the bandwidth, as for the other queues
    int32_t queue2Weight;
    int32_t queue3Weight;
    int32_t queue4Weight;
};
