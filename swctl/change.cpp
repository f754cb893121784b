// A change of the configuration; see the header.
#include "swctl/change.h"

#include "swctl/outcome.h"
#include "swctl/service.h"
#include "swctl/text.h"

#include <limits>

namespace swctl {
namespace {

// Only VLANs are changed and deleted; their id comes first in a key.
std::string vlanOf(const std::vector<Assignment> &key)
{
    return std::to_string(std::get<int64_t>(key.front().value));
}

// The one row that a key names. More than one cannot be told apart by the
// service either, so that is refused as well.
Row onlyRow(Database &database, const std::string &table, const std::vector<Assignment> &key)
{
    std::vector<Row> found = database.rowsWhere(table, key);
    if (found.size() == 1)
        return std::move(found.front());
    if (found.empty())
        throw Failure(exitUsage, "there is no VLAN " + vlanOf(key) + " in the database" +
                                     (key.size() > 1 ? " in that row" : ""));
    std::string message = std::to_string(found.size()) + " rows of " + table +
                          " match; name one of them with --rowid:";
    for (const Row &row : found)
        message += " " + std::to_string(row.rowId);
    throw Failure(exitUsage, message);
}

// The event can only name rows whose id fits 32 bits.
void checkRowId(int64_t rowId)
{
    if (rowId < std::numeric_limits<int32_t>::min() || rowId > std::numeric_limits<int32_t>::max())
        throw Failure(exitUsage, "row id " + std::to_string(rowId) +
                                     " is beyond 32 bits; the service cannot read such a row");
}

// Puts the row back unless another writer has changed it in the meantime.
void putBack(Database &database, const Written &written, Outcome &outcome)
{
    try {
        Transaction transaction(database, Access::write);
        const std::optional<Row> now = database.rowById(written.table, written.rowId);
        const bool untouched = now.has_value() == written.after.has_value() &&
                               (!now.has_value() || now->sameAs(*written.after));
        if (!untouched) {
            outcome.note = "another writer has changed the row since; it is left as it is";
            return;
        }
        if (!written.before.has_value())
            database.remove(written.table, written.rowId);
        else if (!written.after.has_value())
            database.insertRow(written.table, *written.before);
        else
            database.updateRow(written.table, *written.before);
        transaction.commit();
        outcome.putBack = true;
    } catch (const Failure &failure) {
        outcome.note = failure.what();
    }
}

[[noreturn]] void throwPutBack(Database &database, const Written &written, Outcome &outcome,
                               const Failure &failure)
{
    putBack(database, written, outcome);
    const std::string fate =
        outcome.putBack ? "the row is as it was" : "the row was not put back: " + outcome.note;
    throw Failure(failure.status, std::string(failure.what()) + "; " + fate);
}

} // namespace

Written writeInsert(Database &database, const std::string &table,
                    const std::vector<Assignment> &values, const Check &check)
{
    Transaction transaction(database, Access::write);
    if (check)
        check(database);
    Written written;
    written.table = table;
    written.opCode = SWMGR_DB_INSERT;
    written.rowId = database.insert(table, values);
    checkRowId(written.rowId);
    written.after = database.rowById(table, written.rowId);
    transaction.commit();
    return written;
}

Written writeUpdate(Database &database, const std::string &table,
                    const std::vector<Assignment> &key, const std::vector<Assignment> &values,
                    const Check &check)
{
    Transaction transaction(database, Access::write);
    if (check)
        check(database);
    Written written;
    written.table = table;
    written.opCode = SWMGR_DB_UPDATE;
    written.before = onlyRow(database, table, key);
    written.rowId = written.before->rowId;
    checkRowId(written.rowId);
    database.update(table, written.rowId, values);
    written.after = database.rowById(table, written.rowId);
    transaction.commit();
    return written;
}

Written writeDelete(Database &database, const std::string &table,
                    const std::vector<Assignment> &key)
{
    Transaction transaction(database, Access::write);
    Written written;
    written.table = table;
    written.opCode = SWMGR_DB_DELETE;
    written.before = onlyRow(database, table, key);
    written.rowId = written.before->rowId;
    checkRowId(written.rowId);
    database.remove(table, written.rowId);
    transaction.commit();
    return written;
}

std::string oldValuesBlock(const Row &row)
{
    std::string block;
    for (const Row::Cell &cell : row.cells)
        block.append(cell.column).push_back('\0');
    for (const Row::Cell &cell : row.cells)
        block.append(cell.text).push_back('\0');
    return block;
}

Outcome announce(Database &database, const Written &written)
{
    SwMgrDbEvent event{};
    fillField(event.tableName, written.table);
    event.rowId = written.rowId;
    event.opCode = written.opCode;
    const std::string block = written.before ? oldValuesBlock(*written.before) : std::string();

    // After a request without an answer the switches may hold the change or not.
    // The row is left so that the service's next start makes them agree: what was
    // added or changed stays, what was deleted comes back.
    Outcome outcome;
    outcome.asked = true;
    try {
        outcome.status = ask(SWMGR_RELAY_MODULE_ID, SWMGR_MSG_DB_EVENT, bytesOf(event), block);
    } catch (const Unanswered &failure) {
        if (written.after.has_value())
            throw Failure(
                failure.status,
                std::string(failure.what()) +
                    "; the row stays as written, and the service's next start applies it");
        throwPutBack(database, written, outcome, failure);
    } catch (const Failure &failure) {
        throwPutBack(database, written, outcome, failure);
    }
    if (outcome.status < 0)
        putBack(database, written, outcome);
    return outcome;
}

} // namespace swctl
