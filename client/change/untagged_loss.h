// Ports that a change leaves without a VLAN for untagged frames. Nothing refuses that, and
// devices drop such frames without a word.
#pragma once

#include "client/rows/database.h"

#include <string>
#include <vector>

namespace swctl {

// One line for each port that is untagged in a VLAN of `before` and in none of `after`.
std::vector<std::string> untaggedLosses(Database &before, Database &after);

} // namespace swctl
