// Rows and changes as JSON, for the files beside the database.
#pragma once

#include "client/rows/row_change.h"
#include "common/json.h"

#include <string>

namespace swctl {

Json toJson(const Value &value);
Value valueOf(const Json &json);

Json toJson(const ChangeSet &changes);

// nullopt if incomplete.
std::optional<ChangeSet> changeSetOf(const Json &json);

} // namespace swctl
