#include "client/rows/columns.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace swctl {
namespace {

constexpr int64_t maxInt = std::numeric_limits<int32_t>::max();
constexpr int64_t noGap = Column::noGap;

constexpr Table allTables[] = {
    {switchTableName, "switch", "switches", "One row per switch."},
    {portTableName, "port", "ports",
     "One row per port. Ports that others are mapped onto come first."},
    {vlanTableName, "VLAN", "vlans", "One row per VLAN."},
};

// The purpose of a column and its limits: the accepted numbers, or "holds at most N bytes".
std::string commentOf(const Column &column)
{
    std::string comment = column.comment;
    if (!column.isNumber())
        return comment + "; up to " + std::to_string(column.most) + " characters";
    if (column.holds == Holds::flag || column.outside == Outside::passed)
        return comment;
    return comment + (comment.empty() ? "" : "; ") + column.values();
}

std::string padded(std::string value, size_t width)
{
    value.resize(std::max(width, value.size()), ' ');
    return value;
}

void appendTable(std::string &sql, const Table &table)
{
    constexpr size_t nameWidth = 20, typeWidth = 19;
    sql += std::string("\n-- ") + table.comment + "\nCREATE TABLE IF NOT EXISTS " + table.name +
           " (\n    " + padded("id", nameWidth) +
           "INTEGER PRIMARY KEY AUTOINCREMENT, -- row id, never reused\n";
    const std::span<const Column> own = columnsOf(table.name);
    for (const Column &column : own) {
        std::string type = column.isNumber() ? "INTEGER" : "TEXT";
        if (column.isIdentity())
            type += " NOT NULL";
        if (*column.standard != '\0')
            type += std::string(" DEFAULT ") + column.standard;
        type += &column == &own.back() ? "" : ",";
        sql += "    " + padded(column.name, nameWidth) + padded(type, typeWidth) + "-- " +
               commentOf(column) + "\n";
    }
    sql += ");\n";
}

// The allowed values of a column as JSON Schema.
std::string valueSchema(const Column &column)
{
    const std::string most = std::to_string(column.most);
    const bool bounded = column.outside != Outside::passed;
    if (column.holds == Holds::flag)
        return bounded ? R"("enum": [false, true, 0, 1, null])"
                       : R"("type": ["boolean", "integer", "null"])";
    if (column.holds == Holds::portList)
        return R"("type": ["array", "string", "null"], "items": {"type": "integer", "minimum": 0, )"
               R"("maximum": )" +
               std::to_string(portListBits - 1) + R"(}, "pattern": "^([0-9]+(,[0-9]+)*)?$")";
    if (column.holds == Holds::mapping)
        return R"("type": ["array", "string", "null"], "items": {"type": "string", "pattern": )"
               R"("^[^:,]+:[0-9]+$"}, "pattern": "^([^:,]+:[0-9]+(,[^:,]+:[0-9]+)*)?$")";
    if (column.gap != noGap) {
        std::string numbers;
        for (int64_t value = column.least; value <= column.most; ++value)
            if (column.accepts(value))
                numbers += std::to_string(value) + ", ";
        return "\"enum\": [" + numbers + "null]";
    }
    const std::string type = column.isNumber() ? "integer" : "string";
    std::string schema = column.isIdentity() ? "\"type\": \"" + type + "\""
                                             : "\"type\": [\"" + type + "\", \"null\"]";
    if (column.isNumber() && !bounded)
        return schema;
    if (column.isNumber()) {
        schema += ", \"minimum\": " + std::to_string(column.least);
        return column.most == maxInt ? schema : schema + ", \"maximum\": " + most;
    }
    if (column.isIdentity())
        schema += ", \"minLength\": 1";
    return schema + ", \"maxLength\": " + most;
}

void appendList(std::string &json, const Table &table)
{
    std::string required, properties;
    for (const Column &column : columnsOf(table.name)) {
        if (column.isIdentity())
            required += (required.empty() ? "\"" : ", \"") + column.fileName() + "\"";
        properties += (properties.empty() ? "" : ",") + std::string("\n          \"") +
                      column.fileName() + "\": {" + valueSchema(column) + "}";
    }
    json += std::string(",\n    \"") + table.list + "\": {\n      \"type\": \"array\",\n" +
            "      \"description\": \"" + table.comment + "\",\n      \"items\": {\n" +
            "        \"type\": \"object\",\n        \"required\": [" + required + "],\n" +
            "        \"properties\": {" + properties + "\n        }\n      }\n    }";
}

} // namespace

std::string Column::fileName() const
{
    struct Word {
        std::string_view column, word;
    };
    // Those whose options are arguments, or say less in a file.
    constexpr Word words[] = {{"vlanId", "vlan"},
                              {"portNumber", "port"},
                              {"fwdMap", "members"},
                              {"untagMap", "untagged"}};
    for (const auto &[column, word] : words)
        if (column == name)
            return std::string(word);
    if (isIdentity() && std::string_view(name) == "switchName")
        return std::string_view(table) == switchTableName ? "name" : "switch";
    std::string word;
    for (const char *c = option + strspn(option, "-"); *c != '\0'; ++c)
        if (*c == '-')
            word += static_cast<char>(*++c - 'a' + 'A');
        else
            word += *c;
    return word;
}

std::string Column::values() const
{
    if (gap == noGap && most == maxInt)
        return std::to_string(least) + " and more";
    if (gap == noGap && most - least > 1)
        return std::to_string(least) + " to " + std::to_string(most);
    std::string all;
    for (int64_t value = least; value < most; ++value)
        if (accepts(value))
            all += (all.empty() ? "" : ", ") + std::to_string(value);
    return all + " and " + std::to_string(most);
}

std::span<const Table> configurationTables()
{
    return allTables;
}

const Table &tableOf(std::string_view name)
{
    for (const Table &table : allTables)
        if (table.name == name)
            return table;
    throw std::out_of_range("no table of the configuration: " + std::string(name));
}

std::span<const Column> columnsOf(std::string_view table)
{
    if (table == switchTableName)
        return column_rows::switchColumns;
    if (table == portTableName)
        return column_rows::portColumns;
    if (table == vlanTableName)
        return column_rows::vlanColumns;
    return {};
}

TakesEffect takesEffect(const Column &column)
{
    constexpr std::string_view requests[] = {
        "vlanEnable",        "qosEnable",    "pauseFrameEnable", "igmpSnoopingEnable",
        "mldSnoopingEnable", "rateLimit",    "schedMode",        "numQueues",
        "queue1Weight",      "queue2Weight", "queue3Weight",     "queue4Weight"};
    constexpr std::string_view kept[] = {"numPorts", "portType", "mirroring"};
    if (std::find(std::begin(requests), std::end(requests), column.name) != std::end(requests))
        return TakesEffect::onRequest;
    return std::find(std::begin(kept), std::end(kept), column.name) != std::end(kept)
               ? TakesEffect::never
               : TakesEffect::atStart;
}

std::string databaseSchema()
{
    std::string sql =
        "-- The configuration database of the switch manager. Columns are found by name,\n"
        "-- so their order does not matter and extra columns are ignored; the order of\n"
        "-- rows does matter: rows are applied in the order of insertion.\n"
        "--\n"
        "-- A NULL reads as 0 or as an empty text.\n";
    for (const Table &table : allTables)
        appendTable(sql, table);
    return sql;
}

std::string configurationSchema()
{
    std::string json = "{\n  \"$schema\": \"https://json-schema.org/draft/2020-12/schema\",\n"
                       "  \"title\": \"Configuration of the switch manager\",\n"
                       "  \"description\": \"What 'swctl export' writes and 'swctl apply' reads: "
                       "the rows of the configuration database in their order.\",\n"
                       "  \"type\": \"object\",\n  \"additionalProperties\": false,\n"
                       "  \"properties\": {\n    \"$schema\": {\"type\": \"string\"},\n"
                       "    \"version\": {\"const\": " +
                       std::to_string(fileVersion) + "}";
    for (const Table &table : allTables)
        appendList(json, table);
    return json + "\n  }\n}\n";
}

} // namespace swctl
