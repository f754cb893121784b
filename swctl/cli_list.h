// The commands that show rows: the lists of VLANs, ports and switches.
#pragma once

#include "swctl/cli.h"
#include "swctl/configuration_columns.h"

namespace swctl {

void addListCommand(Program &program, CLI::App &group, const TableCommands &table,
                    const std::string &description, const std::string &examples);

// vlan list, with its filters.
void addVlanListCommand(Program &program, CLI::App &group);

} // namespace swctl
