// VLANs of a bridge. Only differences are applied; whatever stays the same is not touched.
#pragma once

#include "model/vlan.h"

// 34: takes a VLAN's new maps. The ports in its untag map become tagged in every other VLAN, in
// memory and in the kernel. Returns 0; -1 if a tool failed.
[[nodiscard]] int bridgeMembershipUpdate(Switch &sw, const SwitchVlan &image);

// 35: sets a VLAN's members in the kernel. Returns 0; -22 for an invalid id or port; -1 if a
// tool failed or a port cannot join.
[[nodiscard]] int bridgeMembershipSet(Switch &sw, const SwitchVlan &vlan);
