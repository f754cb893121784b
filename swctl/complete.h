// The names and numbers that a completion offers.
#pragma once

#include <string>

namespace swctl {

struct Globals;

// Prints the VLAN ids, switches, ports or interfaces, one a line; nothing where
// they cannot be read. Only what means nothing to a shell.
void printCompletions(const Globals &globals, const std::string &kind);

} // namespace swctl
