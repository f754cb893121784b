// Changes of rows in words.
#pragma once

#include "client/rows/row_change.h"

#include <string>

namespace swctl {

// "VLAN 30 added: interface eth0, ports 1,2", "VLAN 30: untagged none -> 1",
// "port 3 of BCM deleted".
std::string changeText(const RowChange &change);

// Those of a change set, of which a long one is cut short.
std::string changesText(const ChangeSet &changes);

// The columns that differ, a line each for the value before ("- fwdMap 1,2") and after ("+ ...").
std::vector<std::string> changeLines(const RowChange &change);

} // namespace swctl
