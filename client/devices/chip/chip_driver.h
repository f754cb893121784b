// Reads the chip's state with the driver's GET requests. A failure is returned as the reason,
// never thrown.
#pragma once

#include "client/devices/device.h"

#include <set>
#include <string>

namespace swctl {

// Reads the entries of these VLANs and the ports' default tags. `node` is the device node in
// the switch's row. Each VLAN takes ten requests, one per port and map: a port may be in the
// untag map without being a member, so neither map makes a request for the other redundant.
Part<Chip> readChip(const Site &site, const std::string &node, const std::set<int> &vlanIds,
                    const Progress &progress = {});

// Reads each port's default tag, link state, statistics and forward map, but no VLANs.
Part<Chip> readChipPorts(const Site &site, const std::string &node);

} // namespace swctl
