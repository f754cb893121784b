// The configuration database as swctl uses it: one connection, statements with
// bound values, transactions, and whole rows kept as they were. Every failure
// is thrown as a Failure with SQLite's reason.
#pragma once

#include "platform/releaser.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <sqlite3.h>
#include <string>
#include <variant>
#include <vector>

namespace swctl {

// A value that is no text, byte by byte.
struct Blob {
    std::string bytes;
    bool operator==(const Blob &) const = default;
};

// A value as SQLite stores it; the first alternative is NULL.
using Value = std::variant<std::monostate, int64_t, double, std::string, Blob>;

// A value to write, by the column that receives it.
struct Assignment {
    std::string column;
    Value value;
};

// A row as it stands in the table, types included.
struct Row {
    struct Cell {
        std::string column;
        Value value;
        std::string text; // as SQLite gives it as text, empty for NULL

        [[nodiscard]] bool isNull() const { return value.index() == 0; }
        [[nodiscard]] bool isInteger() const { return std::holds_alternative<int64_t>(value); }
    };

    int64_t rowId = 0;
    std::vector<Cell> cells; // in the order of the table's columns

    // The value of a column by its exact name, null when there is none or NULL.
    [[nodiscard]] const std::string *find(const char *column) const;
    [[nodiscard]] std::string text(const char *column) const; // empty when there is none
    [[nodiscard]] bool sameAs(const Row &other) const;        // every value, types included
    void set(const Assignment &assignment); // of a column that is there; an unknown one is added
};

class Database;

class Statement {
public:
    Statement(Database &database, const std::string &sql);

    void bind(int index, int64_t value);
    void bind(int index, const Value &value);
    bool step();                   // true while there is a row
    [[nodiscard]] Row row() const; // the first column must be the rowid

private:
    Database &db;
    std::unique_ptr<sqlite3_stmt, Releaser<sqlite3_finalize>> statement;
};

enum class Access {
    read,
    write
};

class Database {
public:
    Database(const std::string &path, Access access);
    [[nodiscard]] static Database inMemory(); // empty, and gone with the object

    [[nodiscard]] const std::string &file() const { return path; }

    void copyTo(Database &other) const;           // everything, by SQLite's backup
    void deserialise(const std::string &image);   // becomes what a file held
    [[nodiscard]] std::string serialised() const; // as a file would hold it

    void run(const char *sql);
    [[nodiscard]] std::vector<Row> rows(const std::string &table);
    // The rows whose columns hold the values; a null set of conditions is all.
    [[nodiscard]] std::vector<Row> rowsWhere(const std::string &table,
                                             const std::vector<Assignment> &conditions);
    [[nodiscard]] std::optional<Row> rowById(const std::string &table, int64_t rowId);
    int64_t insert(const std::string &table, const std::vector<Assignment> &values);
    void update(const std::string &table, int64_t rowId, const std::vector<Assignment> &values);
    void remove(const std::string &table, int64_t rowId);
    void insertRow(const std::string &table, const Row &row); // at its own rowid
    void updateRow(const std::string &table, const Row &row); // every column

    [[noreturn]] void fail() const; // throws SQLite's last reason

private:
    friend class Statement;

    Database() = default;

    std::string path;
    std::unique_ptr<sqlite3, Releaser<sqlite3_close_v2>> handle;
};

// Begun on construction, taken back on the way out unless committed.
class Transaction {
public:
    Transaction(Database &database, Access access);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    void commit();

private:
    Database &db;
    bool open = true; // neither committed nor taken back
};

} // namespace swctl
