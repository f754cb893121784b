// The configuration database; see the header. Table and column names in the SQL
// come from this program's own tables or from SQLite, never from an argument.
#include "swctl/database.h"

#include "swctl/outcome.h"
#include "swctl/text.h"

#include <cstring>

namespace swctl {
namespace {

// How long another writer may hold the database before swctl gives up.
constexpr int busyTimeoutMs = 5000;

std::string quoted(const std::string &name)
{
    std::string out = "\"";
    for (const char c : name)
        out += c == '"' ? "\"\"" : std::string(1, c);
    return out + '"';
}

std::string textOf(sqlite3_stmt *statement, int column)
{
    const unsigned char *text = sqlite3_column_text(statement, column);
    return text == nullptr ? std::string() : std::string(reinterpret_cast<const char *>(text));
}

std::string bytesOf(sqlite3_value *value)
{
    const void *bytes = sqlite3_value_blob(value);
    return bytes == nullptr ? std::string()
                            : std::string(static_cast<const char *>(bytes),
                                          static_cast<size_t>(sqlite3_value_bytes(value)));
}

// SQLite prepares for a long life with many statements: a page cache and an
// allocator that touch some fifty pages of memory at once, and locks. This
// process runs a handful of statements in one thread.
void configureForAShortLife()
{
    sqlite3_config(SQLITE_CONFIG_SINGLETHREAD);
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0);
    sqlite3_config(SQLITE_CONFIG_PAGECACHE, nullptr, 0, 0);
}

} // namespace

bool Row::Cell::isNull() const
{
    return sqlite3_value_type(value.get()) == SQLITE_NULL;
}

bool Row::Cell::isInteger() const
{
    return sqlite3_value_type(value.get()) == SQLITE_INTEGER;
}

const std::string *Row::find(const char *column) const
{
    for (const Cell &cell : cells)
        if (cell.column == column)
            return cell.isNull() ? nullptr : &cell.text;
    return nullptr;
}

std::string Row::text(const char *column) const
{
    const std::string *value = find(column);
    return value == nullptr ? std::string() : *value;
}

bool Row::sameAs(const Row &other) const
{
    if (rowId != other.rowId || cells.size() != other.cells.size())
        return false;
    for (size_t i = 0; i < cells.size(); ++i) {
        // Reading a value's bytes may change its form, so copies are compared.
        const ValuePtr mine(sqlite3_value_dup(cells[i].value.get()));
        const ValuePtr theirs(sqlite3_value_dup(other.cells[i].value.get()));
        if (cells[i].column != other.cells[i].column ||
            sqlite3_value_type(mine.get()) != sqlite3_value_type(theirs.get()) ||
            bytesOf(mine.get()) != bytesOf(theirs.get()))
            return false;
    }
    return true;
}

Statement::Statement(Database &database, const std::string &sql) : db(database)
{
    sqlite3_stmt *prepared = nullptr;
    if (sqlite3_prepare_v2(db.handle.get(), sql.c_str(), -1, &prepared, nullptr) != SQLITE_OK)
        db.fail();
    statement.reset(prepared);
}

void Statement::bind(int index, int64_t value)
{
    if (sqlite3_bind_int64(statement.get(), index, value) != SQLITE_OK)
        db.fail();
}

void Statement::bind(int index, const std::string &value)
{
    if (sqlite3_bind_text(statement.get(), index, value.data(), static_cast<int>(value.size()),
                          SQLITE_TRANSIENT) != SQLITE_OK)
        db.fail();
}

void Statement::bind(int index, const std::variant<int64_t, std::string> &value)
{
    std::visit([&](const auto &held) { bind(index, held); }, value);
}

void Statement::bind(int index, const sqlite3_value *value)
{
    if (sqlite3_bind_value(statement.get(), index, value) != SQLITE_OK)
        db.fail();
}

bool Statement::step()
{
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        db.fail();
    return result == SQLITE_ROW;
}

Row Statement::row() const
{
    Row row;
    row.rowId = sqlite3_column_int64(statement.get(), 0);
    for (int i = 1; i < sqlite3_column_count(statement.get()); ++i) {
        Row::Cell cell;
        cell.column = sqlite3_column_name(statement.get(), i);
        // The copy comes first: asking for the text may convert the value.
        cell.value.reset(sqlite3_value_dup(sqlite3_column_value(statement.get(), i)));
        cell.text = textOf(statement.get(), i);
        row.cells.push_back(std::move(cell));
    }
    return row;
}

Database::Database(const std::string &file, Access access) : path(file)
{
    configureForAShortLife();
    const int flags = access == Access::read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    sqlite3 *opened = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
    handle.reset(opened);
    if (result != SQLITE_OK)
        fail();
    sqlite3_busy_timeout(opened, busyTimeoutMs);
    // A foreign schema may not call functions with side effects.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    // A column that is missing is an error, not a text of that name.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
}

Database Database::inMemory()
{
    Database database;
    configureForAShortLife();
    sqlite3 *opened = nullptr;
    const int result = sqlite3_open(":memory:", &opened);
    database.path = "in memory";
    database.handle.reset(opened);
    if (result != SQLITE_OK)
        database.fail();
    return database;
}

void Database::copyTo(Database &other) const
{
    sqlite3_backup *backup = sqlite3_backup_init(other.handle.get(), "main", handle.get(), "main");
    const int result = backup != nullptr ? sqlite3_backup_step(backup, -1) : SQLITE_ERROR;
    if (backup != nullptr)
        sqlite3_backup_finish(backup);
    if (result != SQLITE_DONE)
        (backup != nullptr && result != SQLITE_BUSY ? other : *this).fail();
}

std::string Database::serialised() const
{
    sqlite3_int64 size = 0;
    unsigned char *bytes = sqlite3_serialize(handle.get(), "main", &size, 0);
    if (bytes == nullptr)
        fail();
    std::string image(reinterpret_cast<const char *>(bytes), static_cast<size_t>(size));
    sqlite3_free(bytes);
    return image;
}

void Database::fail() const
{
    throw Failure(exitUsage,
                  "database " + printable(path) + ": " + printable(sqlite3_errmsg(handle.get())));
}

void Database::run(const char *sql)
{
    if (sqlite3_exec(handle.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail();
}

std::vector<Row> Database::rowsWhere(const std::string &table,
                                     const std::vector<Assignment> &conditions)
{
    std::string sql = "SELECT rowid, * FROM " + quoted(table);
    for (size_t i = 0; i < conditions.size(); ++i)
        sql += (i == 0 ? " WHERE " : " AND ") + quoted(conditions[i].column) + " = ?";
    Statement statement(*this, sql);
    for (size_t i = 0; i < conditions.size(); ++i)
        statement.bind(static_cast<int>(i) + 1, conditions[i].value);
    std::vector<Row> found;
    while (statement.step())
        found.push_back(statement.row());
    return found;
}

std::vector<Row> Database::rows(const std::string &table)
{
    return rowsWhere(table, {});
}

std::optional<Row> Database::rowById(const std::string &table, int64_t rowId)
{
    Statement statement(*this, "SELECT rowid, * FROM " + quoted(table) + " WHERE rowid = ?");
    statement.bind(1, rowId);
    if (!statement.step())
        return std::nullopt;
    return statement.row();
}

int64_t Database::insert(const std::string &table, const std::vector<Assignment> &values)
{
    std::string columns;
    std::string places;
    for (const Assignment &value : values) {
        columns += (columns.empty() ? "" : ", ") + quoted(value.column);
        places += places.empty() ? "?" : ", ?";
    }
    Statement statement(*this, "INSERT INTO " + quoted(table) + " (" + columns + ") VALUES (" +
                                   places + ")");
    for (size_t i = 0; i < values.size(); ++i)
        statement.bind(static_cast<int>(i) + 1, values[i].value);
    statement.step();
    return sqlite3_last_insert_rowid(handle.get());
}

void Database::update(const std::string &table, int64_t rowId,
                      const std::vector<Assignment> &values)
{
    std::string assignments;
    for (const Assignment &value : values)
        assignments += (assignments.empty() ? "" : ", ") + quoted(value.column) + " = ?";
    Statement statement(*this,
                        "UPDATE " + quoted(table) + " SET " + assignments + " WHERE rowid = ?");
    for (size_t i = 0; i < values.size(); ++i)
        statement.bind(static_cast<int>(i) + 1, values[i].value);
    statement.bind(static_cast<int>(values.size()) + 1, rowId);
    statement.step();
}

void Database::remove(const std::string &table, int64_t rowId)
{
    Statement statement(*this, "DELETE FROM " + quoted(table) + " WHERE rowid = ?");
    statement.bind(1, rowId);
    statement.step();
}

void Database::insertRow(const std::string &table, const Row &row)
{
    std::string columns = "rowid";
    std::string places = "?";
    for (const Row::Cell &cell : row.cells) {
        columns += ", " + quoted(cell.column);
        places += ", ?";
    }
    Statement statement(*this, "INSERT INTO " + quoted(table) + " (" + columns + ") VALUES (" +
                                   places + ")");
    statement.bind(1, row.rowId);
    for (size_t i = 0; i < row.cells.size(); ++i)
        statement.bind(static_cast<int>(i) + 2, row.cells[i].value.get());
    statement.step();
}

void Database::updateRow(const std::string &table, const Row &row)
{
    std::string assignments;
    for (const Row::Cell &cell : row.cells)
        assignments += (assignments.empty() ? "" : ", ") + quoted(cell.column) + " = ?";
    Statement statement(*this,
                        "UPDATE " + quoted(table) + " SET " + assignments + " WHERE rowid = ?");
    for (size_t i = 0; i < row.cells.size(); ++i)
        statement.bind(static_cast<int>(i) + 1, row.cells[i].value.get());
    statement.bind(static_cast<int>(row.cells.size()) + 1, row.rowId);
    statement.step();
}

Transaction::Transaction(Database &database, Access access) : db(database)
{
    db.run(access == Access::read ? "BEGIN" : "BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (!open)
        return;
    try {
        db.run("ROLLBACK");
    } catch (const Failure &) {
        // SQLite takes an open transaction back by itself when it is closed.
    }
}

void Transaction::commit()
{
    db.run("COMMIT");
    open = false;
}

} // namespace swctl
