#include "client/plan/plans.h"

#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/rows/check_rows.h"

#include <algorithm>
#include <utility>

namespace swctl {
namespace {

[[noreturn]] void refuse(const std::string &what)
{
    throw Failure(exitRefused, "refused: " + what + "; nothing was changed");
}

[[noreturn]] void refuseMove(const std::string &ports, const std::string &vlan)
{
    refuse("port " + ports + " is untagged in " + vlan + " already, and --no-move keeps it there");
}

std::string movedText(const std::string &ports, const std::string &vlan)
{
    return "port " + ports + " is no longer untagged in " + vlan;
}

// "+4,-2" names what a list is to have more and less than the row has.
Assignment resolved(const Row &before, Assignment value)
{
    auto *list = std::get_if<std::string>(&value.value);
    if (list == nullptr || (!list->starts_with('+') && !list->starts_with('-')) ||
        (value.column != "fwdMap" && value.column != "untagMap"))
        return value;
    uint32_t ports = maskOf(before.text(value.column.c_str()));
    for (const std::string &entry : entriesOf(*list)) {
        const uint32_t port = portBit(toInt(entry.substr(1)));
        ports = entry.starts_with('+') ? ports | port : ports & ~port;
    }
    *list = listOf(ports);
    return value;
}

// A port is untagged in only one VLAN. The service enforces that in memory only, so the rows of
// other VLANs are changed along with this one. `replaced` is the id of the row being changed.
void moveUntagged(Database &database, const RowWish &wish, const Row &row, int64_t replaced,
                  ChangeSet &changes)
{
    const uint32_t taken = maskOf(row.text("untagMap"));
    for (Row &other : database.rows(wish.table)) {
        const uint32_t had = maskOf(other.text("untagMap"));
        if (other.rowId == replaced || (had & taken) == 0)
            continue;
        const std::string ports = listOf(had & taken);
        const std::string vlan = "VLAN " + printable(other.text("vlanId"));
        if (!wish.mayMove)
            refuseMove(ports, vlan);
        Row without = other;
        without.set({"untagMap", listOf(had & ~taken)});
        changes.consequences.push_back(movedText(ports, vlan));
        changes.rows.push_back({wish.table, std::move(other), std::move(without)});
    }
}

// The only row that matches the key. Several matches are refused, since the service cannot tell
// them apart either.
Row onlyRow(Database &database, const RowWish &wish)
{
    std::vector<Row> found = database.rowsWhere(wish.table, wish.key);
    if (found.size() == 1)
        return std::move(found.front());
    if (found.empty())
        throw Failure(exitUsage, "there is no " + printable(wish.name) + " in the database" +
                                     (wish.key.back().column == "rowid" ? " in that row" : ""));
    std::string message = std::to_string(found.size()) + " rows of " + wish.table +
                          " match; name one of them with --rowid:";
    for (const Row &row : found)
        message += " " + std::to_string(row.rowId);
    throw Failure(exitUsage, message);
}

// Changes that an update event cannot make: the service would leave the old entry and the old
// sub-interface in place.
bool movesAway(const Row &before, const Row &after)
{
    for (const char *column : {"vlanId", "interfaceName", "inSwitchOnly"})
        if (before.text(column) != after.text(column))
            return true;
    return false;
}

void setVlan(Database &database, const RowWish &wish, const Row &before, Row after,
             ChangeSet &changes)
{
    const std::string id = after.text("vlanId");
    if (id != before.text("vlanId") &&
        !database.rowsWhere(wish.table, {{"vlanId", int64_t{toInt(id)}}}).empty())
        refuse("VLAN " + printable(id) + " is configured already");
    if (movesAway(before, after)) {
        changes.rows.push_back({wish.table, before, std::nullopt});
        changes.rows.push_back({wish.table, std::nullopt, asNewRow(after)});
    } else {
        changes.rows.push_back({wish.table, before, after});
    }
    moveUntagged(database, wish, after, before.rowId, changes);
}

ChangeSet planAdd(Database &database, const RowWish &wish)
{
    ChangeSet changes{wish.name, "added", {}, {}};
    if (!database.rowsWhere(wish.table, wish.key).empty())
        refuse(printable(wish.name) + " is configured already");
    Row row;
    for (const auto *part : {&wish.key, &wish.values})
        for (const Assignment &value : *part)
            row.set(resolved(Row(), value));
    changes.rows.push_back({wish.table, std::nullopt, row});
    if (wish.table == vlanTableName)
        moveUntagged(database, wish, row, /*replaced=*/0, changes);
    return changes;
}

ChangeSet planSet(Database &database, const RowWish &wish)
{
    ChangeSet changes{wish.name, "changed", {}, {}};
    const Row before = onlyRow(database, wish);
    Row after = before;
    for (const Assignment &value : wish.values)
        after.set(resolved(before, value));
    if (wish.table == vlanTableName)
        setVlan(database, wish, before, std::move(after), changes);
    else if (!after.sameAs(before))
        changes.rows.push_back({wish.table, before, std::move(after)});
    return changes;
}

ChangeSet planDelete(Database &database, const RowWish &wish)
{
    ChangeSet changes{wish.name, "deleted", {}, {}};
    changes.rows.push_back({wish.table, onlyRow(database, wish), std::nullopt});
    return changes;
}

} // namespace

ChangeSet planRow(Database &database, const RowWish &wish)
{
    switch (wish.kind) {
    case RowWish::Kind::add:
        return planAdd(database, wish);
    case RowWish::Kind::set:
        return planSet(database, wish);
    case RowWish::Kind::remove:
        return planDelete(database, wish);
    }
    return {};
}

} // namespace swctl
