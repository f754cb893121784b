// What was changed, when and by whom: a file beside the database, with a bound.
#pragma once

#include "client/rows/row_change.h"

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

struct Verdict;

struct HistoryEntry {
    int number = 0;      // counts up
    int64_t time = 0;    // ms since 1970, of its commit
    std::string who;     // login name
    std::string outcome; // one of the four words, or "written": only the rows
    int undoes = 0;      // number of the entry that it takes back; 0: none
    ChangeSet changes;
};

class History {
public:
    explicit History(const std::string &databasePath);

    // Oldest first; lines that cannot be read are left out.
    [[nodiscard]] std::vector<HistoryEntry> entries() const;

    // Rows of ports and switches of which the service has not heard since that time,
    // in ms since 1970; newest first.
    [[nodiscard]] std::vector<RowChange> unheardSince(int64_t start) const;

    // Gives the number of the new entry. The oldest ones go when there are too many.
    int add(const Verdict &verdict, const std::string &outcome, int undoes) const;

private:
    std::string path;
};

} // namespace swctl
