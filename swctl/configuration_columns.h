// The tables of the configuration database as options and as lists: which
// column each option sets, and which columns a list shows.
#pragma once

#include "swctl/row_options.h"

#include <span>

namespace swctl {

struct ListColumn {
    const char *heading;
    const char *column; // column of the table whose text is shown
};

// One table with everything that the commands of its area need.
struct TableCommands {
    const char *table;                       // name in the database
    const char *noun;                        // what a row is called, e.g. "VLAN"
    std::span<const char *const> identity;   // columns that tell rows apart
    std::span<const ColumnOption> arguments; // identity, required
    std::span<const ColumnOption> options;   // the rest
    std::span<const ListColumn> list;        // what a list shows
};

extern const TableCommands vlanTable;
extern const TableCommands portTable;
extern const TableCommands switchTable;

} // namespace swctl
