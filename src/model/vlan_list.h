// A switch's list of VLANs, changed only through these. Beside it the switch keeps
// who has which id and who untags a port, so that none of the changes walks it.
#pragma once

#include "model/vlan.h"

// Appends a VLAN that was allocated as a ListedVlan, under its id and maps of now.
void vlanListAppend(Switch &sw, SwitchVlan &vlan);

// Removes a VLAN; its id is still the one it was appended under.
void vlanListRemove(Switch &sw, SwitchVlan &vlan);

// The first VLAN with that id, or none; and the next one with the same id.
[[nodiscard]] SwitchVlan *vlanListFind(Switch &sw, int32_t vlanId);
[[nodiscard]] SwitchVlan *vlanListNextSame(const SwitchVlan &vlan);

// Changes the maps of a listed VLAN.
void vlanMapsSet(Switch &sw, SwitchVlan &vlan, uint32_t fwdMap, uint32_t untagMap);

// The last listed VLAN that untags a port, and the one before it.
[[nodiscard]] SwitchVlan *vlanUntagging(Switch &sw);
[[nodiscard]] SwitchVlan *vlanUntaggingBefore(SwitchVlan &vlan);
