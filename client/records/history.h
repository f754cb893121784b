// The history of changes (what, when, by whom): a file next to the database, limited in size.
#pragma once

#include "client/rows/row_change.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

struct HistoryEntry {
    int number = 0;      // increasing
    int64_t time = 0;    // ms since 1970, when the change was committed
    std::string who;     // login name
    std::string outcome; // one of the four outcomes, or "written" if only the rows were written
    ChangeSet changes;
    bool verified = false; // the outcome was checked against the hardware
};

// The file is read at most once; whoever adds entries must hold the lock from before that.
class History {
public:
    explicit History(const std::string &databasePath);

    // Oldest first; unreadable lines are skipped.
    [[nodiscard]] std::vector<HistoryEntry> entries() const;

    // Changes of port and switch rows since `start`, in ms since 1970, of which the service has
    // not been notified; newest first.
    [[nodiscard]] std::vector<RowChange> unheardSince(int64_t start) const;

    // Returns the number of the new entry. Drops the oldest entries when the file is full.
    int add(int64_t committed, const std::string &outcome, const ChangeSet &changes, bool verified);

private:
    [[nodiscard]] const std::string &contents() const; // read once, then cached

    std::string path;
    mutable std::optional<std::string> text;
};

} // namespace swctl
