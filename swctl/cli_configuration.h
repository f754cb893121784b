// What a command of the groups vlan, port and switch is about.
#pragma once

#include "client/plan/wish.h"
#include "swctl/call.h"

namespace swctl {

struct TableRow;

// The table that the group of a command is named after.
const TableRow &tableOf(const CommandRow &command);

// The change of a row that one of their commands add, set and delete asks for.
RowWish rowWishOf(const Call &call);

} // namespace swctl
