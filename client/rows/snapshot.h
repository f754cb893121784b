// A copy of the configuration database in memory: consistent, made by SQLite's
// backup while others may write, and free to be changed.
#pragma once

#include "client/rows/database.h"

namespace swctl {

class Snapshot {
public:
    explicit Snapshot(Database &source);

    [[nodiscard]] Database &database() { return copy; }

    // The database as a file would hold it.
    [[nodiscard]] std::string image();

private:
    Database copy;
};

} // namespace swctl
