// The objects of the switch model: switches, their ports, and the nodes that
// tie them into a hierarchy. They lie zero-filled on the heap, in intrusive
// lists, and are never freed once listed.
#pragma once

#include "model/command.h"
#include "model/layout.h"
#include "platform/sal.h"

#include <cstdint>

struct Switch;

// A backend's configuration function. `payload` is the command's record or
// none, `payloadLen` its length as the sender declares it. `replyBuf` and
// `replyLen` are handed through and never written. Negative is failure.
using SwitchConfigFunc = int (*)(Switch *sw, int cmd, const void *payload, uint32_t payloadLen,
                                 void *replyBuf, uint32_t *replyLen);

// Hands one command of `sw` to `lower`, one of the switches below it.
using SwitchConfTransferFunc = int (*)(Switch *sw, Switch *lower, int cmd, const void *payload,
                                       uint32_t payloadLen, void *replyBuf, uint32_t *replyLen);

struct Switch {
    SalListLink link;       // in switchTbl
    uint32_t switchIndex;   // 1-based, in the order of adding; 0 before
    char switchName[512];   // unique; also selects the backend
    char switchDevice[512]; // device node that the backend drives
    // Switch-wide settings from the switch's row, each sent with a command of its
    // own: 0 off, 1 on. Of the two for snooping the low byte alone travels.
    int32_t qosEnable;
    int32_t vlanEnable;
    int32_t pauseFrameEnable; // any value but 1: off
    int32_t igmpSnoopingEnable;
    int32_t mldSnoopingEnable;
    int32_t numPorts;            // from the row; kept, not used
    int32_t switchLevel;         // higher is nearer the top
    int32_t lowerLvlCfgEnable;   // non-zero: the backend hands commands on to the switches below
    SwitchConfigFunc configFunc; // none while no backend is bound
    SwitchConfTransferFunc confTransferFunc; // none where the backend hands nothing on
    SalList lowerLvlSwitchList;              // SwitchLowerLvlNode, each to a Switch
    SalList portList;                        // SwitchPort
    SalList vlanList;                        // SwitchVlan
};
OBJECT_SIZE(Switch, 1100, 1144);
LIES_AT(Switch, link, 0, 0);
LIES_AT(Switch, switchIndex, 8, 16);
LIES_AT(Switch, switchName, 12, 20);
LIES_AT(Switch, switchDevice, 524, 532);
LIES_AT(Switch, qosEnable, 1036, 1044);
LIES_AT(Switch, vlanEnable, 1040, 1048);
LIES_AT(Switch, pauseFrameEnable, 1044, 1052);
LIES_AT(Switch, igmpSnoopingEnable, 1048, 1056);
LIES_AT(Switch, mldSnoopingEnable, 1052, 1060);
LIES_AT(Switch, numPorts, 1056, 1064);
LIES_AT(Switch, switchLevel, 1060, 1068);
LIES_AT(Switch, lowerLvlCfgEnable, 1064, 1072);
LIES_AT(Switch, configFunc, 1068, 1080);
LIES_AT(Switch, confTransferFunc, 1072, 1088);
LIES_AT(Switch, lowerLvlSwitchList, 1076, 1096);
LIES_AT(Switch, portList, 1084, 1112);
LIES_AT(Switch, vlanList, 1092, 1128);

struct SwitchPort {
    SalListLink link;             // in its switch's portList
    uint32_t portIndex;           // 1-based over the ports of all switches
    int32_t portNumber;           // unique within the switch
    Switch *ownerSwitch;          // the switch whose portList holds the port
    int32_t PVID;                 // VLAN of untagged frames; kept up by the chip's backend
    int32_t non8021qFramesStatus; // 1: untagged in no VLAN; written by the chip's backend
    int32_t portType;             // from the row; kept, not used
    char interfaceName[64];       // from the row; may be full without a terminator
    int32_t trustMode;            // SW_TRUST_MODE_..., sent when the port is added
    int32_t mirroring;            // from the row; kept, not used
    SalList mappedList;           // SwitchLowerLvlNode, each to a SwitchPort of another switch

    // From the row and kept; what is in force comes with commands 48 and 50.
    int32_t rateLimit;    // kbit/s
    int32_t schedMode;    // SW_SCHED_MODE_...
    int32_t numQueues;    // 1, 2 or 4
    int32_t queue1Weight; // share of the bandwidth, as those of the other queues
    int32_t queue2Weight;
    int32_t queue3Weight;
    int32_t queue4Weight;
};
OBJECT_SIZE(SwitchPort, switchPortRecordLength, 168);
LIES_AT(SwitchPort, link, 0, 0);
LIES_AT(SwitchPort, portIndex, 8, 16);
LIES_AT(SwitchPort, portNumber, 12, 20);
LIES_AT(SwitchPort, ownerSwitch, 16, 24);
LIES_AT(SwitchPort, PVID, 20, 32);
LIES_AT(SwitchPort, non8021qFramesStatus, 24, 36);
LIES_AT(SwitchPort, portType, 28, 40);
LIES_AT(SwitchPort, interfaceName, 32, 44);
LIES_AT(SwitchPort, trustMode, 96, 108);
LIES_AT(SwitchPort, mirroring, 100, 112);
LIES_AT(SwitchPort, mappedList, 104, 120);
LIES_AT(SwitchPort, rateLimit, 112, 136);
LIES_AT(SwitchPort, schedMode, 116, 140);
LIES_AT(SwitchPort, numQueues, 120, 144);
LIES_AT(SwitchPort, queue1Weight, 124, 148);
LIES_AT(SwitchPort, queue2Weight, 128, 152);
LIES_AT(SwitchPort, queue3Weight, 132, 156);
LIES_AT(SwitchPort, queue4Weight, 136, 160);

// An element of lowerLvlSwitchList or of mappedList: a block of its own, since
// a switch or port may be named in several lists.
struct SwitchLowerLvlNode {
    SalListLink link; // in the list that it is an element of
    union {
        Switch *lower;      // in a lowerLvlSwitchList
        SwitchPort *mapped; // in a mappedList
    };
};
OBJECT_SIZE(SwitchLowerLvlNode, 12, 24);
LIES_AT(SwitchLowerLvlNode, lower, 8, 16);
LIES_AT(SwitchLowerLvlNode, mapped, 8, 16);
