// The commands that show rows: the lists of VLANs, ports and switches, and one VLAN.
#pragma once

#include "client/base/json.h"
#include "swctl/cli.h"
#include "swctl/configuration_columns.h"

namespace swctl {

void addListCommand(Program &program, CLI::App &group, const TableCommands &table,
                    const std::string &description, const std::string &examples);

// vlan list, with its filters, and vlan show.
void addVlanListCommand(Program &program, CLI::App &group);
void addVlanShowCommand(Program &program, CLI::App &group);

// The rows with every column, numbers as numbers.
Json rowsJson(const std::vector<Row> &rows);

} // namespace swctl
