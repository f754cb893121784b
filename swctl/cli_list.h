// Rows of the database as JSON.
#pragma once

#include "client/rows/database.h"
#include "common/json.h"

namespace swctl {

// The rows with all columns, numbers as numbers.
Json rowsJson(const std::vector<Row> &rows);

} // namespace swctl
