// The VLAN sub-interfaces of the host's kernel: as they are, and what differs.
#pragma once

#include "client/devices/difference.h"
#include "client/devices/site.h"

#include <string>
#include <vector>

namespace swctl {

// The VLAN sub-interfaces and the uptime records. With a reason next to what is held,
// the sub-interfaces were read and the records were not.
Part<Kernel> readKernel(const Site &site);

void compareKernel(const Kernel &wanted, const Kernel &actual, std::vector<Difference> &all);

// "up", and what of its priority maps is not as it should be.
std::string stateText(const SubInterface &sub);

} // namespace swctl
