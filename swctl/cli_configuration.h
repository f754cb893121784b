// The rows that commands of the groups vlan, port and switch refer to.
#pragma once

#include "client/plan/wish.h"
#include "swctl/call.h"

namespace swctl {

struct TableRow;

// The table of the command's group.
const TableRow &tableOf(const CommandRow &command);

// The row change requested by one of the commands add, set and delete.
RowWish rowWishOf(const Call &call);

} // namespace swctl
