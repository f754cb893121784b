// Table and column names in the SQL come from this program's own tables or from SQLite, never
// from an argument.
#include "client/rows/database.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "common/database_journal.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace swctl {
namespace {

// How long to wait while another writer locks the database.
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

std::string bytesOf(const void *bytes, int length)
{
    return bytes == nullptr
               ? std::string()
               : std::string(static_cast<const char *>(bytes), static_cast<size_t>(length));
}

Value valueOf(sqlite3_stmt *statement, int column)
{
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
        return int64_t{sqlite3_column_int64(statement, column)};
    case SQLITE_FLOAT:
        return sqlite3_column_double(statement, column);
    case SQLITE_TEXT: {
        const void *text = sqlite3_column_text(statement, column);
        return bytesOf(text, sqlite3_column_bytes(statement, column));
    }
    case SQLITE_BLOB: {
        const void *bytes = sqlite3_column_blob(statement, column);
        return Blob{bytesOf(bytes, sqlite3_column_bytes(statement, column))};
    }
    default:
        return {};
    }
}

// SQLite's own error says only that it cannot open the file, and opening a pipe would block.
void checkFile(const std::string &path, Access access)
{
    struct stat about = {};
    const int wanted = access == Access::write ? R_OK | W_OK : R_OK;
    const char *fault = nullptr;
    // Whoever can write the folder could point the link anywhere.
    if (lstat(path.c_str(), &about) == 0 && S_ISLNK(about.st_mode))
        fault = "it is a symbolic link";
    else if (stat(path.c_str(), &about) != 0 || ::access(path.c_str(), wanted) != 0)
        fault = strerror(errno);
    else if (!S_ISREG(about.st_mode))
        fault = S_ISDIR(about.st_mode) ? "it is a directory" : "it is not a file";
    else
        fault = databaseJournalFault(path.c_str());
    if (fault != nullptr)
        throw Failure(exitUsage, "database " + printable(path) + ": " + fault);
}

// SQLite's defaults suit a long-lived process with many statements: a page cache and an
// allocator that touch some fifty pages of memory right away, and locks. This process runs a
// few statements in one thread.
void configureForAShortLife()
{
    sqlite3_config(SQLITE_CONFIG_SINGLETHREAD);
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0);
    sqlite3_config(SQLITE_CONFIG_PAGECACHE, nullptr, 0, 0);
}

} // namespace

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
    for (size_t i = 0; i < cells.size(); ++i)
        if (cells[i].column != other.cells[i].column || cells[i].value != other.cells[i].value)
            return false;
    return true;
}

void Row::set(const Assignment &assignment)
{
    std::string text;
    if (const auto *number = std::get_if<int64_t>(&assignment.value))
        text = std::to_string(*number);
    else if (const auto *string = std::get_if<std::string>(&assignment.value))
        text = *string;
    for (Cell &cell : cells)
        if (cell.column == assignment.column) {
            cell.value = assignment.value;
            cell.text = text;
            return;
        }
    cells.push_back({assignment.column, assignment.value, text});
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

void Statement::bind(int index, const Value &value)
{
    sqlite3_stmt *to = statement.get();
    int result = SQLITE_OK;
    if (const auto *number = std::get_if<int64_t>(&value))
        result = sqlite3_bind_int64(to, index, *number);
    else if (const auto *real = std::get_if<double>(&value))
        result = sqlite3_bind_double(to, index, *real);
    else if (const auto *text = std::get_if<std::string>(&value))
        result = sqlite3_bind_text(to, index, text->data(), static_cast<int>(text->size()),
                                   SQLITE_TRANSIENT);
    else if (const auto *blob = std::get_if<Blob>(&value))
        result = sqlite3_bind_blob(to, index, blob->bytes.data(),
                                   static_cast<int>(blob->bytes.size()), SQLITE_TRANSIENT);
    if (result != SQLITE_OK)
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
        // Order matters: reading a value as text may convert it.
        cell.value = valueOf(statement.get(), i);
        cell.text = textOf(statement.get(), i);
        row.cells.push_back(std::move(cell));
    }
    return row;
}

Database::Database(const std::string &file, Access access) : path(file)
{
    checkFile(path, access);
    configureForAShortLife();
    const int flags = access == Access::read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    char resolved[PATH_MAX];
    if (!databaseDeletionsLimit(path.c_str()) || !databaseFolderResolve(path.c_str(), resolved))
        throw Failure(exitUsage, "database " + printable(path) + ": its folder is not accessible");
    sqlite3 *opened = nullptr;
    const int result = sqlite3_open_v2(resolved, &opened, flags | SQLITE_OPEN_NOFOLLOW, nullptr);
    handle.reset(opened);
    if (result != SQLITE_OK)
        fail();
    sqlite3_busy_timeout(opened, busyTimeoutMs);
    // Functions with side effects must not be called from a schema of unknown origin.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    // A missing column must be an error, not be read as a string literal.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    // Deleting the rollback journal is what commits. Unless the folder is synced too, a power
    // failure could undo a change that was reported as applied.
    if (access == Access::write)
        run("PRAGMA synchronous=EXTRA");
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
    // SQLite refuses to back up a connection with an open write transaction; its pages do
    // include what is not committed yet.
    if (sqlite3_get_autocommit(handle.get()) == 0) {
        other.deserialise(serialised());
        return;
    }
    sqlite3_backup *backup = sqlite3_backup_init(other.handle.get(), "main", handle.get(), "main");
    const int result = backup != nullptr ? sqlite3_backup_step(backup, -1) : SQLITE_ERROR;
    if (backup != nullptr)
        sqlite3_backup_finish(backup);
    if (result != SQLITE_DONE)
        failWith(result, sqlite3_errstr(result));
}

void Database::deserialise(const std::string &image)
{
    auto *bytes = static_cast<unsigned char *>(sqlite3_malloc64(image.size()));
    if (bytes == nullptr)
        throw std::bad_alloc();
    memcpy(bytes, image.data(), image.size());
    const auto size = static_cast<sqlite3_int64>(image.size());
    if (sqlite3_deserialize(handle.get(), "main", bytes, size, size,
                            SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_RESIZEABLE) !=
        SQLITE_OK)
        fail();
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
    failWith(sqlite3_extended_errcode(handle.get()), sqlite3_errmsg(handle.get()));
}

void Database::failWith(int code, const char *words) const
{
    const std::string which = "database " + printable(path) + ": ";
    // Only a writer may roll back what an interrupted writer left.
    if (code == SQLITE_READONLY_ROLLBACK || code == SQLITE_READONLY_RECOVERY)
        throw JournalLeft(exitUsage, which + "a writer was interrupted and left its journal; "
                                             "'swctl recover' restores the rows");
    throw Failure(exitUsage, which + printable(words));
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
        statement.bind(static_cast<int>(i) + 2, row.cells[i].value);
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
        statement.bind(static_cast<int>(i) + 1, row.cells[i].value);
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
        // SQLite rolls back an open transaction when the connection is closed.
    }
}

void Transaction::commit()
{
    db.run("COMMIT");
    open = false;
}

} // namespace swctl
