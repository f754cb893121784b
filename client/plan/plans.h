// What a command wants of a row, and the changes of rows that this comes to.
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
    std::vector<Assignment> key;    // columns that tell the row apart
    std::vector<Assignment> values; // columns to write
    bool mayMove = true;            // a port may leave another VLAN's untagged ones
};

// From the rows as they are; throws to refuse.
ChangeSet planRow(Database &database, const RowWish &wish);

} // namespace swctl
