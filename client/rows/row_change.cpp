#include "client/rows/row_change.h"

#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/wire.h"
#include "client/rows/columns.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>
#include <limits>

namespace swctl {
namespace {

// An event's row id has only 32 bits.
void checkRowId(int64_t rowId)
{
    if (rowId < std::numeric_limits<int32_t>::min() || rowId > std::numeric_limits<int32_t>::max())
        throw Failure(exitUsage,
                      "row id " + std::to_string(rowId) +
                          " does not fit in 32 bits; the service cannot read such a row");
}

bool rowIs(Database &database, const std::string &table, int64_t rowId,
           const std::optional<Row> &wanted)
{
    const std::optional<Row> now = database.rowById(table, rowId);
    return now.has_value() == wanted.has_value() && (!now || now->sameAs(*wanted));
}

void writeRow(Database &database, RowChange &change)
{
    if (change.before && !rowIs(database, change.table, change.before->rowId, change.before))
        throw Failure(exitRefused, "another writer has changed row " +
                                       std::to_string(change.before->rowId) + " of " +
                                       change.table + " since");
    if (change.before && change.after) {
        database.updateRow(change.table, *change.after);
        change.after = database.rowById(change.table, change.after->rowId); // as actually stored
    } else if (change.before) {
        database.remove(change.table, change.before->rowId);
    } else if (change.after->rowId != 0) {
        database.insertRow(change.table, *change.after);
    } else {
        std::vector<Assignment> values;
        for (const Row::Cell &cell : change.after->cells)
            values.push_back({cell.column, cell.value});
        const int64_t rowId = database.insert(change.table, values);
        checkRowId(rowId);
        change.after = database.rowById(change.table, rowId);
    }
    checkRowId(change.rowId());
}

// Null-terminated column names, then null-terminated values. The block has no representation of
// NULL; an empty string decodes to the same.
std::string oldValuesOf(const Row &row)
{
    std::string block;
    for (const Row::Cell &cell : row.cells)
        block.append(cell.column).push_back('\0');
    for (const Row::Cell &cell : row.cells)
        block.append(cell.text.c_str()).push_back('\0');
    return block;
}

Announcement announcementFor(const std::string &table, int64_t rowId, int operation,
                             const Row *oldValues)
{
    SwMgrDbEvent event{};
    fillField(event.tableName, table);
    event.rowId = rowId;
    event.opCode = operation;
    return {std::string(bytesOf(event)), oldValues != nullptr ? oldValuesOf(*oldValues) : ""};
}

} // namespace

int RowChange::operation() const
{
    return !before ? SWMGR_DB_INSERT : after ? SWMGR_DB_UPDATE : SWMGR_DB_DELETE;
}

int64_t RowChange::rowId() const
{
    return after ? after->rowId : before->rowId;
}

int RowChange::vlanId() const
{
    return table == vlanTableName ? toInt((after ? *after : *before).text("vlanId")) : 0;
}

bool RowChange::isAnnounced() const
{
    return told && (table == vlanTableName || operation() == SWMGR_DB_INSERT);
}

std::vector<int> ChangeSet::vlanIds() const
{
    std::vector<int> ids;
    for (const RowChange &change : rows)
        for (const std::optional<Row> *row : {&change.before, &change.after})
            if (change.table == vlanTableName && row->has_value())
                ids.push_back(toInt((*row)->text("vlanId")));
    return ids;
}

void append(ChangeSet &to, ChangeSet more)
{
    for (RowChange &change : more.rows) {
        const auto earlier =
            std::find_if(to.rows.begin(), to.rows.end(), [&](const RowChange &one) {
                return change.before && one.after && one.table == change.table &&
                       one.after->rowId == change.before->rowId;
            });
        if (earlier == to.rows.end()) {
            to.rows.push_back(std::move(change));
            continue;
        }
        earlier->after = std::move(change.after);
        const bool none = !earlier->before && !earlier->after;
        const bool same =
            earlier->before && earlier->after && earlier->before->sameAs(*earlier->after);
        if (none || same)
            to.rows.erase(earlier);
    }
    for (std::string &consequence : more.consequences)
        if (std::find(to.consequences.begin(), to.consequences.end(), consequence) ==
            to.consequences.end())
            to.consequences.push_back(std::move(consequence));
}

Row asNewRow(Row row)
{
    // Drop a column that merely repeats the row id.
    std::erase_if(row.cells, [&](const Row::Cell &cell) {
        return cell.column == "id" && cell.value == Value(row.rowId);
    });
    row.rowId = 0;
    return row;
}

ChangeSet reversed(const ChangeSet &changes, size_t count)
{
    ChangeSet back;
    back.what = changes.what;
    back.verb = "put back";
    for (size_t i = std::min(count, changes.rows.size()); i-- > 0;) {
        const RowChange &change = changes.rows[i];
        back.rows.push_back({change.table, change.after, change.before});
        // The service has no event for the removal of a port or a switch, and keeps it in
        // memory.
        back.rows.back().told = change.table == vlanTableName;
    }
    return back;
}

void writeRows(Database &database, ChangeSet &changes)
{
    for (RowChange &change : changes.rows)
        writeRow(database, change);
}

bool rowsAreAfter(Database &database, const ChangeSet &changes)
{
    for (auto change = changes.rows.begin(); change != changes.rows.end(); ++change) {
        // If a row id is reused, only its last change counts.
        const bool again = std::any_of(change + 1, changes.rows.end(), [&](const RowChange &later) {
            return later.table == change->table && later.rowId() == change->rowId();
        });
        if (!again && !rowIs(database, change->table, change->rowId(), change->after))
            return false;
    }
    return true;
}

bool rowsAreBefore(Database &database, const ChangeSet &changes)
{
    return rowsAreAfter(database, reversed(changes));
}

Announcement announcementOf(const RowChange &change)
{
    return announcementFor(change.table, change.rowId(), change.operation(),
                           change.before ? &*change.before : nullptr);
}

Announcement announcementOf(const Row &vlanRow, int operation)
{
    return announcementFor(vlanTableName, vlanRow.rowId, operation,
                           operation == SWMGR_DB_INSERT ? nullptr : &vlanRow);
}

} // namespace swctl
