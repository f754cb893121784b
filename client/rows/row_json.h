// Rows and changes as JSON text, for the files beside the database.
#pragma once

#include "client/base/json.h"
#include "client/rows/row_change.h"

#include <string>
#include <string_view>

namespace swctl {

Json toJson(const Value &value);
Value valueOf(const Json &json);

std::string toJson(const ChangeSet &changes);

// None for a text that is not whole.
std::optional<ChangeSet> changeSetOf(std::string_view json);

} // namespace swctl
