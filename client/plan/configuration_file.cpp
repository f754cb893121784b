#include "client/plan/configuration_file.h"

#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/text.h"
#include "client/plan/file_words.h"
#include "client/rows/check_rows.h"
#include "client/rows/row_json.h"

#include <algorithm>
#include <map>

namespace swctl {
namespace {

constexpr size_t longestReason = 300; // bytes

struct Section {
    const char *name;
    const char *table;
    const char *owner;  // identifies a row together with the next column; null if not needed
    const char *number; // identifies a row
    bool isText;        // whether that column holds text rather than a number
};
constexpr Section sections[] = {
    {"switches", switchTableName, nullptr, "switchName", true},
    {"ports", portTableName, "switchName", "portNumber", false},
    {"vlans", vlanTableName, nullptr, "vlanId", false},
};
constexpr size_t portSection = 1;
constexpr size_t vlanSection = 2;

// The identity of a row as the service reads it.
std::string keyOf(const Section &section, const Row &row)
{
    const std::string number = row.text(section.number);
    return (section.owner != nullptr ? row.text(section.owner) + ":" : std::string()) +
           (section.isText ? number : std::to_string(toInt(number)));
}

Json rowJson(const Section &section, const Row &row)
{
    Json object = Json::object();
    for (const Row::Cell &cell : asNewRow(row).cells)
        if (const Column *column = columnInFile(section.table, cell.column))
            object[column->fileName()] = toFile(*column, cell);
        else
            object[cell.column] = toJson(cell.value);
    return object;
}

[[noreturn]] void refuseFile(const std::string &name, const std::string &why)
{
    throw Failure(exitUsage, printable(name) + ": " + printable(why));
}

using WantedRows = FileWish::Rows;

// A column that only the database knows.
Value otherValue(const Json &json, const std::string &place)
{
    if (json.isReal() || json.isArray() || json.isBoolean())
        throw Failure(exitUsage, printable(place + ": it is neither text, whole number nor null"));
    return valueOf(json);
}

std::vector<Assignment> wantedRow(const std::string &name, const Section &section, size_t at,
                                  const Json &json)
{
    const std::string where = std::string(section.name) + "[" + std::to_string(at) + "]";
    if (!json.isObject())
        refuseFile(name, where + ": it is not an object");
    std::vector<Assignment> values;
    for (const auto &[member, value] : json.members()) {
        const Column *column = columnInFile(section.table, member);
        std::string place = where;
        place.append(".").append(member);
        const std::string stored = column != nullptr ? column->name : member;
        if (std::any_of(values.begin(), values.end(),
                        [&](const Assignment &one) { return one.column == stored; }))
            refuseFile(name, place.append(": it is given under two names"));
        place.insert(0, ": ").insert(0, name);
        values.push_back({stored, column != nullptr ? fromFile(*column, value, place)
                                                    : otherValue(value, place)});
    }
    for (const char *needed : {section.owner, section.number})
        if (needed != nullptr && std::none_of(values.begin(), values.end(), [&](const auto &one) {
                return one.column == needed;
            }))
            refuseFile(name, where + ": '" + columnInFile(section.table, needed)->fileName() +
                                 "' is missing");
    return values;
}

// The changes of one table.
struct Changes {
    std::vector<RowChange> gone, updated, added;
};

Row rowOf(const std::vector<Assignment> &values, Row row)
{
    for (const Assignment &value : values)
        row.set(value);
    return row;
}

void checkColumns(const Section &section, const TableRows &table, const WantedRows &wanted,
                  const std::string &name)
{
    for (size_t at = 0; at < wanted.size(); ++at)
        for (const Assignment &value : wanted[at])
            if (!table.columns.contains(value.column))
                refuseFile(name, std::string(section.name) + "[" + std::to_string(at) + "]." +
                                     value.column + ": " + section.table + " has no such column" +
                                     wordMeant(section.table, value.column));
}

// SQLite converts values to the column's type: a number in a text column is stored as text.
bool isSame(const Row &a, const Row &b)
{
    return std::equal(
        a.cells.begin(), a.cells.end(), b.cells.begin(), b.cells.end(),
        [](const Row::Cell &one, const Row::Cell &other) {
            return one.value == other.value || (!one.text.empty() && one.text == other.text);
        });
}

bool namesAny(const Row &row, const std::vector<RowChange> &added)
{
    const std::vector<std::string> mapping = entriesOf(row.text("phyDevice"));
    return std::any_of(added.begin(), added.end(), [&](const RowChange &change) {
        const std::string key = keyOf(sections[portSection], *change.after);
        return std::any_of(mapping.begin(), mapping.end(),
                           [&](const std::string &entry) { return entryAsRead(entry) == key; });
    });
}

// Whether the row must be replaced by a new one, because an update would leave parts of the old
// one in place, or the row would come before a port that it is mapped onto.
bool needsNewRow(const Section &section, const Row &before, const Row &after,
                 const std::vector<RowChange> &added)
{
    if (&section == &sections[vlanSection])
        return before.text("interfaceName") != after.text("interfaceName") ||
               before.text("inSwitchOnly") != after.text("inSwitchOnly");
    return &section == &sections[portSection] && namesAny(after, added);
}

Changes changesOf(const Section &section, const TableRows &table, const WantedRows &wanted)
{
    Changes changes;
    std::multimap<std::string, const Row *> unused;
    for (const Row &row : table.rows)
        unused.emplace(keyOf(section, row), &row);
    for (const std::vector<Assignment> &values : wanted) {
        const Row fresh = rowOf(values, Row());
        const auto found = unused.find(keyOf(section, fresh));
        if (found == unused.end()) {
            changes.added.push_back({section.table, std::nullopt, fresh});
            continue;
        }
        const Row &before = *found->second;
        Row after = rowOf(values, before);
        unused.erase(found);
        if (needsNewRow(section, before, after, changes.added)) {
            changes.gone.push_back({section.table, before, std::nullopt});
            changes.added.push_back({section.table, std::nullopt, asNewRow(std::move(after))});
            // The service cannot add a port that it already has.
            changes.added.back().told = &section == &sections[vlanSection];
        } else if (!isSame(after, before)) {
            changes.updated.push_back({section.table, before, std::move(after)});
        }
    }
    for (const auto &[key, row] : unused)
        changes.gone.push_back({section.table, *row, std::nullopt});
    return changes;
}

void take(std::vector<RowChange> &from, ChangeSet &to)
{
    for (RowChange &change : from)
        to.rows.push_back(std::move(change));
}

} // namespace

Json configurationJson(Database &database)
{
    const Transaction transaction(database, Access::read);
    Json json = {{"$schema", "configuration.schema.json"}, {"version", fileVersion}};
    for (const Section &section : sections) {
        Json list = Json::array();
        for (const Row &row : database.rows(section.table))
            list.push_back(rowJson(section, row));
        json[section.name] = std::move(list);
    }
    return json;
}

FileWish fileWishOf(const std::string &text, const std::string &name)
{
    Json json;
    try {
        json = Json::parse(text, Json::Repeated::isRefused);
    } catch (const JsonError &error) {
        std::string_view what = error.what();
        if (what.starts_with('[')) // the library's name for the error
            what.remove_prefix(std::min(what.size(), what.find("] ") + 2));
        refuseFile(name, std::string(what.substr(0, longestReason)));
    }
    if (!json.isObject())
        refuseFile(name, "it is not an object with switches, ports and vlans");
    FileWish wish{name, {}};
    for (const auto &[member, list] : json.members()) {
        const auto section =
            std::find_if(std::begin(sections), std::end(sections),
                         [&name = member](const Section &one) { return name == one.name; });
        if (member == "$schema")
            continue;
        if (member == "version") {
            if (list != Json(fileVersion))
                refuseFile(name,
                           "version: this swctl reads version " + std::to_string(fileVersion));
            continue;
        }
        if (section == std::end(sections) || !list.isArray()) {
            const std::string word = nearest(member, {"switches", "ports", "vlans"});
            refuseFile(
                name, "'" + member + "' is not a list of switches, ports or vlans" +
                          (word.empty() || word == member ? "" : "; did you mean '" + word + "'?"));
        }
        WantedRows rows;
        for (const Json &row : list.values())
            rows.push_back(wantedRow(name, *section, rows.size(), row));
        wish.lists[static_cast<size_t>(section - std::begin(sections))] = std::move(rows);
    }
    return wish;
}

ChangeSet planFile(Database &database, const FileWish &wish)
{
    const Configuration now = readConfiguration(database);
    const TableRows *const tables[] = {&now.switchTable, &now.portTable, &now.vlanTable};
    std::vector<Changes> changes(std::size(sections));
    for (size_t at = 0; at < std::size(sections); ++at) {
        if (!wish.lists[at])
            continue;
        checkColumns(sections[at], *tables[at], *wish.lists[at], wish.name);
        changes[at] = changesOf(sections[at], *tables[at], *wish.lists[at]);
    }
    // Rows that others depend on are added first and removed last.
    ChangeSet all{"configuration", "applied", {}, {}};
    for (size_t at = std::size(sections); at-- > 0;)
        take(changes[at].gone, all);
    for (Changes &one : changes) {
        take(one.updated, all);
        take(one.added, all);
    }
    return all;
}

} // namespace swctl
