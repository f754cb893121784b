#include "client/rows/row_text.h"

#include "client/rows/check_rows.h"
#include "client/rows/columns.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr size_t mostChanges = 4; // in words

// A column as the options call it; one that has no option by its own name.
std::string wordOf(const std::string &table, const std::string &name)
{
    for (const Column &column : columnsOf(table))
        if (column.name == name && !column.isIdentity())
            return column.option + 2; // without its dashes
    return name;
}

std::string valueIn(const Row &row, const std::string &column)
{
    const std::string value = row.text(column.c_str());
    return value.empty() ? "none" : value;
}

bool isSame(const RowChange &change, const std::string &column)
{
    const auto cellOf = [&](const Row &row) {
        const auto cell = std::find_if(row.cells.begin(), row.cells.end(),
                                       [&](const Row::Cell &one) { return one.column == column; });
        return cell != row.cells.end() ? cell->value : Value();
    };
    return cellOf(*change.before) == cellOf(*change.after);
}

bool isIdentity(const std::string &table, const std::string &name)
{
    const std::span<const Column> columns = columnsOf(table);
    return name == "id" || std::any_of(columns.begin(), columns.end(), [&](const Column &column) {
               return column.name == name && column.isIdentity();
           });
}

// What the row has besides what it has anyway: NULL, nothing, or the schema's default.
bool isWorthTelling(const std::string &table, const Row::Cell &cell)
{
    if (cell.text.empty() || isIdentity(table, cell.column))
        return false;
    for (const Column &column : columnsOf(table))
        if (column.name == cell.column && cell.text == column.standard)
            return false;
    return true;
}

} // namespace

std::string changeText(const RowChange &change)
{
    const Row &row = change.after ? *change.after : *change.before;
    std::string text = nameOf(change.table, row);
    if (!change.after)
        return text + " deleted";
    std::string details;
    for (const Row::Cell &cell : row.cells) {
        if (change.before ? isSame(change, cell.column) : !isWorthTelling(change.table, cell))
            continue;
        details.append(details.empty() ? "" : ", ").append(wordOf(change.table, cell.column));
        if (change.before)
            details.append(" ").append(valueIn(*change.before, cell.column)).append(" ->");
        details.append(" ").append(valueIn(row, cell.column));
    }
    text += change.before ? "" : " added";
    return details.empty() ? text : text + ": " + details;
}

std::string changesText(const ChangeSet &changes)
{
    std::string text;
    for (size_t i = 0; i < std::min(changes.rows.size(), mostChanges); ++i)
        text.append(i == 0 ? "" : "; ").append(changeText(changes.rows[i]));
    if (changes.rows.size() > mostChanges)
        text += "; and " + std::to_string(changes.rows.size() - mostChanges) + " more rows";
    return text;
}

std::vector<std::string> changeLines(const RowChange &change)
{
    std::vector<std::string> lines;
    const auto add = [&](const char *sign, const std::optional<Row> &row, const Row::Cell &cell) {
        if (row)
            lines.push_back(sign + cell.column + " " + valueIn(*row, cell.column));
    };
    const Row &shape = change.after ? *change.after : *change.before;
    for (const Row::Cell &cell : shape.cells) {
        const bool both = change.before && change.after;
        if (both ? isSame(change, cell.column) : cell.isNull() || cell.column == "id")
            continue;
        add("- ", change.before, cell);
        add("+ ", change.after, cell);
    }
    return lines;
}

} // namespace swctl
