// Changes of rows, and how the service is told of them.
#pragma once

#include "client/rows/database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

// A row before and after. None before: it is added; none after: it goes.
struct RowChange {
    std::string table;
    std::optional<Row> before;
    std::optional<Row> after;
    bool told = true; // the service is, as far as it has an event for it

    [[nodiscard]] int operation() const;    // SWMGR_DB_...
    [[nodiscard]] int64_t rowId() const;    // of the row that is or was there
    [[nodiscard]] int vlanId() const;       // of a VLAN's row, after or before; 0 for another table
    [[nodiscard]] bool isAnnounced() const; // the service has an event for it
};

// Changes that belong together: written in one transaction, announced in order.
struct ChangeSet {
    std::string what;                      // "VLAN 30"
    std::string verb;                      // "added"
    std::vector<RowChange> rows;           // in the order in which they are announced
    std::vector<std::string> consequences; // what else changes because of it, a sentence each
    int undoes = 0;                        // number of the change that it takes back; 0: none

    [[nodiscard]] bool empty() const { return rows.empty(); }
    [[nodiscard]] std::vector<int> vlanIds() const; // of every VLAN whose row is touched
};

// Adds what comes after. Several changes of one row become one, in the place of the
// first; what was added and taken away again is none.
void append(ChangeSet &to, ChangeSet more);

// The row as one of its own: without the id that it had.
Row asNewRow(Row row);

// The changes that take a set back, last first; of the first `count` rows only.
ChangeSet reversed(const ChangeSet &changes, size_t count = SIZE_MAX);

// Writes the changes; the rows that are added get their ids. Throws when a row is
// not as it was before, because another writer came first.
void writeRows(Database &database, ChangeSet &changes);

// Whether every row is as it should be after the change, or as it was before.
bool rowsAreAfter(Database &database, const ChangeSet &changes);
bool rowsAreBefore(Database &database, const ChangeSet &changes);

// An update event, as the service gets it.
struct Announcement {
    std::string event;     // a SwMgrDbEvent
    std::string oldValues; // column names, then values, each null-terminated
};
Announcement announcementOf(const RowChange &change);

// The same for a VLAN's row as it stands, to have it applied again: as an update,
// or as a removal and an addition.
Announcement announcementOf(const Row &vlanRow, int operation);

} // namespace swctl
