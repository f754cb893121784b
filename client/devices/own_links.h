// Which VLAN sub-interfaces of this machine are the switch manager's own. Other programs
// make some, too: a container's network, an administrator by hand.
#pragma once

#include "client/rehearse/hardware_state.h"
#include "client/rows/database.h"

#include <map>
#include <string>
#include <vector>

namespace swctl {

// Takes out of `kernel` the sub-interfaces that are not the system's own, and gives them
// back. Its own is one that `wanted` or a row asks for, or that this system made by its
// own account: the history beside the database or an unfinished change names it, or there
// is an uptime record of its VLAN and one of these names its parent.
std::map<std::string, SubInterface> setForeignApart(Kernel &kernel, const Kernel &wanted,
                                                    const std::vector<Row> &vlanRows,
                                                    const std::string &databasePath);

} // namespace swctl
