// A switch's list of VLANs, changed only through these three. With thousands of
// VLANs most look-ups by id are for one that is not there yet; a count of ids
// answers those without a walk.
#pragma once

#include "model/vlan.h"

// Appends a VLAN, under the id that it has by then.
void vlanListAppend(Switch &sw, SwitchVlan &vlan);

// Removes a VLAN; its id is still the one it was appended under.
void vlanListRemove(Switch &sw, SwitchVlan &vlan);

// The first VLAN with that id, or none.
[[nodiscard]] SwitchVlan *vlanListFind(Switch &sw, int32_t vlanId);
