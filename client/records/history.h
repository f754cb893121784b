// The history of changes (what, when, by whom): a file next to the database, limited in size.
#pragma once

#include "client/rows/row_change.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

struct HistoryEntry {
    int64_t number = 0; // increasing
    int64_t time = 0;   // ms since 1970, when the change was committed
    std::string who;    // login name
    // One of the four outcomes; "written" if only the rows were written; "confirmed" or
    // "finished" of an earlier change, which `concerns` then names.
    std::string outcome;
    ChangeSet changes;     // without rows if only something earlier was confirmed or repaired
    bool verified = false; // the outcome was checked against the hardware
    bool stands = true;    // false: its rows were restored
    int64_t concerns = 0;  // number of an earlier entry, 0 if none
    std::vector<std::string> done{}; // what a repair sent

    // Whether it changed rows, which nobody has restored as part of the same attempt.
    [[nodiscard]] bool changedRows() const;
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

    // The number of the newest entry with exactly these changes; 0: none.
    [[nodiscard]] int64_t numberOf(const ChangeSet &changes) const;

    // Fills in number and user, and returns the number. Drops the oldest entries when the file
    // is full.
    int64_t add(HistoryEntry entry);
    int64_t add(int64_t committed, const std::string &outcome, const ChangeSet &changes,
                bool verified);

private:
    [[nodiscard]] const std::string &contents() const; // read once, then cached

    std::string path;
    mutable std::optional<std::string> text;
};

} // namespace swctl
