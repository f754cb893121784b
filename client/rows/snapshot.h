// An in-memory copy of the configuration database that can be modified freely. SQLite's backup
// makes it, so it is consistent even while others write.
#pragma once

#include "client/rows/database.h"

namespace swctl {

class Snapshot {
public:
    explicit Snapshot(Database &source);

    [[nodiscard]] Database &database() { return copy; }

    // As a file image.
    [[nodiscard]] std::string image();

private:
    Database copy;
};

} // namespace swctl
