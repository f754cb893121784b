// The objects of the switch model: switches, their ports, and the nodes that link them into a
// hierarchy. They are zero-initialised heap objects in intrusive lists, never freed once
// listed.
#pragma once

#include "model/command.h"
#include "model/layout.h"
#include "platform/sal.h"

#include <cstdint>

struct Switch;

// A backend's configuration function. `payload` is the command's record or null, `payloadLen`
// its length as declared by the sender. `replyBuf` and `replyLen` are passed through and never
// written. Negative results are failures.
using SwitchConfigFunc = int (*)(Switch *sw, int cmd, const void *payload, uint32_t payloadLen,
                                 void *replyBuf, uint32_t *replyLen);

// Passes a command of `sw` on to `lower`, one of the switches below it.
using SwitchConfTransferFunc = int (*)(Switch *sw, Switch *lower, int cmd, const void *payload,
                                       uint32_t payloadLen, void *replyBuf, uint32_t *replyLen);

struct Switch {
    SalListLink link;       // in switchTbl
    uint32_t switchIndex;   // 1-based, in order of addition; 0 before
    char switchName[512];   // unique; also selects the backend
    char switchDevice[512]; // device node that the backend drives
    // Switch-wide settings from the switch's row, each sent with its own command: 0 off, 1 on.
    // For the two snooping settings only the low byte is sent.
    int32_t qosEnable;
    int32_t vlanEnable;
    int32_t pauseFrameEnable; // anything but 1: off
    int32_t igmpSnoopingEnable;
    int32_t mldSnoopingEnable;
    int32_t numPorts;            // from the row; stored but not used
    int32_t switchLevel;         // the highest is the top level
    int32_t lowerLvlCfgEnable;   // non-zero: the backend passes commands on to lower switches
    SwitchConfigFunc configFunc; // null while no backend is bound
    SwitchConfTransferFunc confTransferFunc; // null if the backend does not pass commands on
    SalList lowerLvlSwitchList;              // of SwitchLowerLvlNode, each pointing to a Switch
    SalList portList;                        // of SwitchPort
    SalList vlanList;                        // of SwitchVlan
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
    uint32_t portIndex;           // 1-based, across the ports of all switches
    int32_t portNumber;           // unique within the switch
    Switch *ownerSwitch;          // the switch whose portList holds the port
    int32_t PVID;                 // VLAN of untagged frames; maintained by the chip's backend
    int32_t non8021qFramesStatus; // 1: untagged in no VLAN; written by the chip's backend
    int32_t portType;             // from the row; stored but not used
    char interfaceName[64];       // from the row; without a terminator if full
    int32_t trustMode;            // SW_TRUST_MODE_..., sent when the port is added
    int32_t mirroring;            // from the row; stored but not used
    SalList mappedList; // of SwitchLowerLvlNode, each pointing to a SwitchPort of another switch

    // From the row, only stored; the effective values are set by commands 48 and 50.
    int32_t rateLimit;    // kbit/s
    int32_t schedMode;    // SW_SCHED_MODE_...
    int32_t numQueues;    // 1, 2 or 4
    int32_t queue1Weight; // share of the bandwidth, as for the other queues
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

// An element of lowerLvlSwitchList or mappedList. It is allocated separately, since a switch or
// port may be in several lists.
struct SwitchLowerLvlNode {
    SalListLink link; // in the list that contains it
    union {
        Switch *lower;      // in a lowerLvlSwitchList
        SwitchPort *mapped; // in a mappedList
    };
};
OBJECT_SIZE(SwitchLowerLvlNode, 12, 24);
LIES_AT(SwitchLowerLvlNode, lower, 8, 16);
LIES_AT(SwitchLowerLvlNode, mapped, 8, 16);
