// Separates the switch manager's own VLAN sub-interfaces from others on this machine, such as
// those of a container network or an administrator.
#pragma once

#include "client/rehearse/hardware_state.h"
#include "client/rows/database.h"

#include <map>
#include <string>
#include <vector>

namespace swctl {

// Moves the sub-interfaces that are not the switch manager's own out of `kernel` and returns
// them. Its own are those that `wanted` or a row asks for, and those that it is on record as
// having made: the history beside the database or an unfinished change names the
// sub-interface, or its VLAN has an uptime record and a row, the history or an unfinished
// change names its parent.
std::map<std::string, SubInterface> setForeignApart(Kernel &kernel, const Kernel &wanted,
                                                    const std::vector<Row> &vlanRows,
                                                    const std::string &databasePath);

} // namespace swctl
