// Rows and changes as JSON text, for the files beside the database.
#pragma once

#include "swctl/row_change.h"

#include <string>
#include <string_view>

namespace swctl {

std::string toJson(const ChangeSet &changes);

// None for a text that is not whole.
std::optional<ChangeSet> changeSetOf(std::string_view json);

} // namespace swctl
