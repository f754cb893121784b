// The VLAN object: one per VLAN and switch, in the switch's vlanList. Its memory image is also
// the payload of commands 34, 35, 58 and 59.
#pragma once

#include "model/command.h"
#include "model/layout.h"
#include "model/switch.h"

struct SwitchVlan {
    SalListLink link;       // in the owner's vlanList
    int32_t vlanId;         // 802.1Q VLAN id
    int32_t vlanIndex;      // index in the top-level switch's VLAN table
    char vlanName[128];     // empty for VLANs from the database
    char interfaceName[64]; // Linux interface that carries the VLAN
    char LogicalIfName[64];
    char ingressMap[512]; // stays empty
    char egressMap[512];  // stays empty
    uint32_t fwdMap;      // member ports; each backend applies its own numbering
    uint32_t untagMap;    // member ports that send the VLAN untagged
    int32_t inSwitchOnly; // non-zero: the VLAN stays inside the switches
    Switch *ownerSwitch;  // the switch whose vlanList holds the object
};
OBJECT_SIZE(SwitchVlan, switchVlanRecordLength, 1328);
LIES_AT(SwitchVlan, link, 0, 0);
LIES_AT(SwitchVlan, vlanId, 8, 16);
LIES_AT(SwitchVlan, vlanIndex, 12, 20);
LIES_AT(SwitchVlan, vlanName, 16, 24);
LIES_AT(SwitchVlan, interfaceName, 144, 152);
LIES_AT(SwitchVlan, LogicalIfName, 208, 216);
LIES_AT(SwitchVlan, ingressMap, 272, 280);
LIES_AT(SwitchVlan, egressMap, 784, 792);
LIES_AT(SwitchVlan, fwdMap, 1296, 1304);
LIES_AT(SwitchVlan, untagMap, 1300, 1308);
LIES_AT(SwitchVlan, inSwitchOnly, 1304, 1312);
LIES_AT(SwitchVlan, ownerSwitch, 1308, 1320);
