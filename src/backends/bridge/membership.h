// VLANs of a bridge, changed by difference: what stays on a port is not touched.
#pragma once

#include "model/vlan.h"

// 34: the maps of a VLAN to be. Ports that it takes without a tag leave the untagged
// ports of every other VLAN, here and in the kernel. 0; -1 when a tool failed.
[[nodiscard]] int bridgeMembershipUpdate(Switch &sw, const SwitchVlan &image);

// 35: puts a VLAN's members into the kernel. 0; -22 for an id or a port that there is
// not, -1 when a tool failed or a port cannot join.
[[nodiscard]] int bridgeMembershipSet(Switch &sw, const SwitchVlan &vlan);
