// What a command wants of a row, and the row changes that follow from it.
#pragma once

#include "client/rows/row_change.h"

#include <string>
#include <vector>

namespace swctl {

struct RowWish {
    enum class Kind {
        add,
        set,
        remove
    };

    Kind kind{};
    std::string table;
    std::string name;               // "VLAN 30"
    std::vector<Assignment> key;    // columns that identify the row
    std::vector<Assignment> values; // columns to write
    bool mayMove = true;            // a port may stop being untagged in another VLAN
};

// Based on the current rows; throws to refuse.
ChangeSet planRow(Database &database, const RowWish &wish);

} // namespace swctl
