// The VLAN sub-interfaces in the host's kernel, and how they differ from what is wanted.
#pragma once

#include "client/devices/difference.h"
#include "client/devices/site.h"

#include <string>
#include <vector>

namespace swctl {

// Reads the VLAN sub-interfaces and the uptime records. If both `held` and `reason` are set,
// the sub-interfaces were read but the records were not.
Part<Kernel> readKernel(const Site &site);

void compareKernel(const Kernel &wanted, const Kernel &actual, std::vector<Difference> &all);

// "up" or "down", and which priority maps are not the identity.
std::string stateText(const SubInterface &sub);

} // namespace swctl
