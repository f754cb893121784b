// The rows that commands of the groups vlan, port and switch refer to.
#pragma once

#include "client/plan/wish.h"
#include "swctl/call.h"

namespace swctl {

struct TableRow;

// The table of the command's group.
const TableRow &tableOf(const CommandRow &command);

// The row changes requested by one of the commands add, set and delete: one, or for a range of
// VLANs one for each.
std::vector<RowWish> rowWishesOf(const Call &call);

} // namespace swctl
