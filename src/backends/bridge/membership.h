// VLANs of a bridge. Only differences are applied: what stays on a port is not touched.
#pragma once

#include "model/vlan.h"

// 34: a VLAN's new maps. Its untagged ports are removed from the untagged ports of every
// other VLAN, here and in the kernel. 0; -1 if a tool failed.
[[nodiscard]] int bridgeMembershipUpdate(Switch &sw, const SwitchVlan &image);

// 35: sets a VLAN's members in the kernel. 0; -22 for an invalid id or port, -1 if a tool
// failed or a port cannot join.
[[nodiscard]] int bridgeMembershipSet(Switch &sw, const SwitchVlan &vlan);
