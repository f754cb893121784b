// The configuration as a file: every row of the three tables as JSON, in row order, suitable
// for storing, comparing and reviewing.
#pragma once

#include "client/rows/row_change.h"
#include "common/json.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

// {"switches": [...], "ports": [...], "vlans": [...]}, with a member for each column.
Json configurationJson(Database &database);

// The rows in a file, as column assignments.
struct FileWish {
    using Rows = std::vector<std::vector<Assignment>>;

    std::string name;                         // the file's name in messages
    std::array<std::optional<Rows>, 3> lists; // switches, ports and VLANs; nullopt if left out
};

// Throws with exitUsage if the text is not a configuration.
FileWish fileWishOf(const std::string &text, const std::string &name);

// The smallest change that makes the rows match the file. A list that is left out leaves its
// table alone; otherwise rows missing from it are removed, and members left out keep their
// values.
ChangeSet planFile(Database &database, const FileWish &wish);

} // namespace swctl
