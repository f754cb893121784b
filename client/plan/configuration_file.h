// The configuration as a file: every row of the three tables as JSON, in the order
// of the rows, made to be kept, compared and reviewed.
#pragma once

#include "client/base/json.h"
#include "client/plan/plans.h"

#include <string>

namespace swctl {

// {"switches": [...], "ports": [...], "vlans": [...]}: a member for each column.
Json configurationJson(Database &database);

// The smallest change that makes the rows what the text says. A list that is left
// out stays as it is, a row that is in no list goes, and a member that is left out
// keeps its value. Throws with exitUsage when the text is no configuration; `name`
// is what it is called then.
Plan planFile(const std::string &text, const std::string &name);

} // namespace swctl
