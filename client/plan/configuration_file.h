// The configuration as a file: every row of the three tables as JSON, in the order
// of the rows, made to be kept, compared and reviewed.
#pragma once

#include "client/rows/row_change.h"
#include "common/json.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

// {"switches": [...], "ports": [...], "vlans": [...]}: a member for each column.
Json configurationJson(Database &database);

// The rows that a file wants, as plain assignments.
struct FileWish {
    using Rows = std::vector<std::vector<Assignment>>;

    std::string name;                         // what the file is called in messages
    std::array<std::optional<Rows>, 3> lists; // switches, ports and VLANs; none: left out
};

// Throws with exitUsage when the text is no configuration.
FileWish fileWishOf(const std::string &text, const std::string &name);

// The smallest change that makes the rows what the file says. A list that is left
// out stays as it is, a row that is in no list goes, and a member that is left out
// keeps its value.
ChangeSet planFile(Database &database, const FileWish &wish);

} // namespace swctl
