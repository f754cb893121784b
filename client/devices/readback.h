// Reading back what chip, engine and kernel hold. A part that cannot be read says
// why; nothing is thrown, and the other parts go on.
#pragma once

#include "client/devices/difference.h"
#include "client/devices/site.h"

#include <functional>
#include <set>
#include <string>

namespace swctl {

// Called now and then with how many VLANs of how many have been read.
using Progress = std::function<void(size_t done, size_t all)>;

// The chip behind `device`, by the driver's GET requests: entries of these VLANs,
// and the ports' default tags. Ten requests a VLAN: a port may be in the untag map
// without being a member, so that neither map says what need not be asked.
Part<Chip> readChip(const Site &site, const std::string &device, const std::set<int> &vlanIds,
                    const Progress &progress = {});

// Default tag, link, statistics and forward map of each port, and no VLAN.
Part<Chip> readChipPorts(const Site &site, const std::string &device);

// The VLAN sub-interfaces and the uptime records. With a reason next to what is held,
// the sub-interfaces were read and the records were not.
Part<Kernel> readKernel(const Site &site);

// The engine's tools have no query: what the log says of those that failed.
Part<EngineFacts> readEngine();

} // namespace swctl
