// What was changed, when and by whom: a file beside the database, with a bound.
#pragma once

#include "client/rows/row_change.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

struct HistoryEntry {
    int number = 0;      // counts up
    int64_t time = 0;    // ms since 1970, of its commit
    std::string who;     // login name
    std::string outcome; // one of the four words, or "written": only the rows
    ChangeSet changes;
    bool verified = false; // what became of it was looked at
};

// Read at most once: who adds to it holds the lock since before that.
class History {
public:
    explicit History(const std::string &databasePath);

    // Oldest first; lines that cannot be read are left out.
    [[nodiscard]] std::vector<HistoryEntry> entries() const;

    // Rows of ports and switches of which the service has not heard since that time,
    // in ms since 1970; newest first.
    [[nodiscard]] std::vector<RowChange> unheardSince(int64_t start) const;

    // Gives the number of the new entry. The oldest ones go when there are too many.
    int add(int64_t committed, const std::string &outcome, const ChangeSet &changes, bool verified);

private:
    [[nodiscard]] const std::string &contents() const; // read once

    std::string path;
    mutable std::optional<std::string> text;
};

} // namespace swctl
