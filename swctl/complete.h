// Names and numbers for completion.
#pragma once

#include <string>

namespace swctl {

struct Globals;

// Prints VLAN ids, switches, ports, interfaces or numbers of changes, one per line, leaving out
// names with characters special to a shell. Prints nothing if they cannot be read.
void printCompletions(const Globals &globals, const std::string &kind);

} // namespace swctl
