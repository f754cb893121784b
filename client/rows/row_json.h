// Rows and changes as JSON, for the files beside the database.
#pragma once

#include "client/base/json.h"
#include "client/rows/row_change.h"

#include <string>

namespace swctl {

Json toJson(const Value &value);
Value valueOf(const Json &json);

Json toJson(const ChangeSet &changes);

// None for what is not whole.
std::optional<ChangeSet> changeSetOf(const Json &json);

// As it is written into a file: on one line, in plain ASCII.
std::string storedText(const Json &json);

} // namespace swctl
