// The configuration database as swctl uses it: one connection, bound statements, transactions,
// and rows with all their values. Every failure is thrown as a Failure with SQLite's reason.
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

// A binary value.
struct Blob {
    std::string bytes;
    bool operator==(const Blob &) const = default;
};

// A value as SQLite stores it; the first alternative is NULL.
using Value = std::variant<std::monostate, int64_t, double, std::string, Blob>;

// A column and the value to write to it.
struct Assignment {
    std::string column;
    Value value;
};

// A row of a table, with the types of its values.
struct Row {
    struct Cell {
        std::string column;
        Value value;
        std::string text; // as SQLite converts it to text, empty for NULL

        [[nodiscard]] bool isNull() const { return value.index() == 0; }
        [[nodiscard]] bool isInteger() const { return std::holds_alternative<int64_t>(value); }
    };

    int64_t rowId = 0;
    std::vector<Cell> cells; // in the order of the table's columns

    // The value of a column by exact name; null if the column is missing or NULL.
    [[nodiscard]] const std::string *find(const char *column) const;
    [[nodiscard]] std::string text(const char *column) const; // empty if missing
    [[nodiscard]] bool sameAs(const Row &other) const;        // all values, types included
    void set(const Assignment &assignment); // adds the column if the row does not have it
};

class Database;

class Statement {
public:
    Statement(Database &database, const std::string &sql);

    void bind(int index, int64_t value);
    void bind(int index, const Value &value);
    bool step();                   // false when there are no more rows
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
    [[nodiscard]] static Database inMemory(); // empty, and discarded with the object

    [[nodiscard]] const std::string &file() const { return path; }

    void copyTo(Database &other) const;           // by SQLite's backup
    void deserialise(const std::string &image);   // replaces the contents by a file's image
    [[nodiscard]] std::string serialised() const; // as a file image

    void run(const char *sql);
    [[nodiscard]] std::vector<Row> rows(const std::string &table);
    // The rows whose columns have these values; all rows if `conditions` is null.
    [[nodiscard]] std::vector<Row> rowsWhere(const std::string &table,
                                             const std::vector<Assignment> &conditions);
    [[nodiscard]] std::optional<Row> rowById(const std::string &table, int64_t rowId);
    int64_t insert(const std::string &table, const std::vector<Assignment> &values);
    void update(const std::string &table, int64_t rowId, const std::vector<Assignment> &values);
    void remove(const std::string &table, int64_t rowId);
    void insertRow(const std::string &table, const Row &row); // with its own rowid
    void updateRow(const std::string &table, const Row &row); // all columns

    [[noreturn]] void fail() const; // throws with SQLite's last reason
    [[noreturn]] void failWith(int code, const char *words) const;

private:
    friend class Statement;

    Database() = default;

    std::string path;
    std::unique_ptr<sqlite3, Releaser<sqlite3_close_v2>> handle;
};

// Begins on construction; rolls back on destruction unless committed.
class Transaction {
public:
    Transaction(Database &database, Access access);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    void commit();

private:
    Database &db;
    bool open = true; // neither committed nor rolled back
};

} // namespace swctl
