// The VLAN object: one per VLAN and switch, in the switch's vlanList. Its image,
// from the first byte, is also the payload of commands 34, 35, 58 and 59.
#pragma once

#include "model/command.h"
#include "model/switch.h"

#include <cstddef>

struct SwitchVlan {
    SalListLink link;       // in the owner's vlanList
    int32_t vlanId;         // 802.1Q VLAN id
    int32_t vlanIndex;      // entry in the top-level switch's VLAN table
    char vlanName[128];     // empty for VLANs from the database
    char interfaceName[64]; // Linux interface that carries the VLAN
    char LogicalIfName[64];
    char ingressMap[512]; // stays empty
    char egressMap[512];  // stays empty
    uint32_t fwdMap;      // member ports, read by each backend in its own numbering
    uint32_t untagMap;    // member ports that send the VLAN untagged
    int32_t inSwitchOnly; // non-zero: the VLAN stays inside the switches
    Switch *ownerSwitch;  // the switch whose vlanList holds the object
};

// What is allocated for a VLAN: the object, and what its switch keeps of it.
struct ListedVlan {
    SwitchVlan vlan;
    ListedVlan *sameBucket; // listed after it
    ListedVlan *untagging;  // listed before it, of those that may untag a port
    uint32_t place;         // rises along the list
    bool mayUntag;          // is among them
};

static_assert(sizeof(void *) != 4 || sizeof(SwitchVlan) == switchVlanRecordLength);
static_assert(offsetof(SwitchVlan, vlanId) == sizeof(SalListLink));
static_assert(offsetof(SwitchVlan, fwdMap) == sizeof(SalListLink) + 1288);
static_assert(offsetof(SwitchVlan, ownerSwitch) ==
              sizeof(SalListLink) + (sizeof(void *) == 4 ? 1300 : 1304));
