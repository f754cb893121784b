// What a command wants of a row, and the changes of rows that this comes to.
#pragma once

#include "client/rows/row_change.h"

#include <functional>
#include <string>
#include <vector>

namespace swctl {

// Says what to change, from the rows as they are; throws to refuse.
using Plan = std::function<ChangeSet(Database &)>;

struct RowWish {
    std::string table;
    std::string name;               // "VLAN 30"
    std::vector<Assignment> key;    // columns that tell the row apart
    std::vector<Assignment> values; // columns to write
    bool mayMove = true;            // a port may leave another VLAN's untagged ones
};

ChangeSet planAdd(Database &database, const RowWish &wish);
ChangeSet planSet(Database &database, const RowWish &wish);
ChangeSet planDelete(Database &database, const RowWish &wish);

// Several plans as one, each seeing the rows as the one before leaves them.
Plan inOrder(std::vector<Plan> plans, std::string what);

} // namespace swctl
