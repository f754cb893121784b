// Changes of rows, and the update events that announce them to the service.
#pragma once

#include "client/rows/database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

// A row before and after a change. An empty `before` is an addition, an empty `after` a
// removal.
struct RowChange {
    std::string table;
    std::optional<Row> before;
    std::optional<Row> after;
    bool told = true; // whether the service is notified, where it has an event for this

    [[nodiscard]] int operation() const; // SWMGR_DB_...
    [[nodiscard]] int64_t rowId() const; // of the row after the change, or before if it is removed
    [[nodiscard]] int vlanId() const;    // of a VLAN row, after or before; 0 in other tables
    [[nodiscard]] bool isAnnounced() const; // whether the service has an event for it
};

// Changes that belong together: written in one transaction, announced in order.
struct ChangeSet {
    std::string what;                      // "VLAN 30"
    std::string verb;                      // "added"
    std::vector<RowChange> rows;           // in the order of announcement
    std::vector<std::string> consequences; // side effects on other rows, one sentence each
    int64_t undoes = 0;                    // number of the change that this one undoes, 0 if none
    int64_t undoesTo = -1; // it undoes every later change than this, -1 if it does not
    std::string through{}; // the command, or what else made it: "vlan set", "trial ran out"
    std::string comment{}; // why, in the words of who made it

    [[nodiscard]] bool empty() const { return rows.empty(); }
    [[nodiscard]] std::vector<int> vlanIds() const; // every VLAN whose row changes
};

// Appends later changes. Several changes of one row are merged into the first; an addition
// followed by a removal cancels out.
void append(ChangeSet &to, ChangeSet more);

// A copy of the row to be added as a new one, without its old id.
Row asNewRow(Row row);

// The inverse of the first `count` changes, in reverse order.
ChangeSet reversed(const ChangeSet &changes, size_t count = SIZE_MAX);

// Writes the changes and fills in the ids of added rows. Throws if a row is not in its `before`
// state, because another writer has changed it meanwhile.
void writeRows(Database &database, ChangeSet &changes);

// Whether every row is in its state after, or before, the change.
bool rowsAreAfter(Database &database, const ChangeSet &changes);
bool rowsAreBefore(Database &database, const ChangeSet &changes);

// An update event as sent to the service.
struct Announcement {
    std::string event;     // a SwMgrDbEvent
    std::string oldValues; // column names, then values, each null-terminated
};
Announcement announcementOf(const RowChange &change);

// An event that makes the service apply an unchanged VLAN row again, as an update or as a
// removal and an addition.
Announcement announcementOf(const Row &vlanRow, int operation);

} // namespace swctl
