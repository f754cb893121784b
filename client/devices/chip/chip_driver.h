// Reading back what the chip holds, by the driver's GET requests. What cannot be read says
// why; nothing is thrown.
#pragma once

#include "client/devices/device.h"

#include <set>
#include <string>

namespace swctl {

// Entries of these VLANs and the ports' default tags. `node` is the device node of the
// switch's row. Ten requests a VLAN: a port may be in the untag map without being a
// member, so that neither map says what need not be asked.
Part<Chip> readChip(const Site &site, const std::string &node, const std::set<int> &vlanIds,
                    const Progress &progress = {});

// Default tag, link, statistics and forward map of each port, and no VLAN.
Part<Chip> readChipPorts(const Site &site, const std::string &node);

} // namespace swctl
