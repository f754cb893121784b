// Adding a column: a row here and one in src/store/decode.cpp.
#include "client/rows/columns.h"

#include <algorithm>
#include <stdexcept>

namespace swctl {
namespace {

constexpr int64_t maxInt = std::numeric_limits<int32_t>::max();
constexpr int64_t noGap = Column::noGap;
constexpr auto refused = Outside::refused;
constexpr auto misleading = Outside::misleading;
constexpr auto passed = Outside::passed;
constexpr auto ruled = Outside::ruled;
constexpr auto number = Holds::number;
constexpr auto flag = Holds::flag;
constexpr auto text = Holds::text;

constexpr Table allTables[] = {
    {switchTableName, "switch", "switches", "One row per switch."},
    {portTableName, "port", "ports",
     "One row per port. Ports that others are mapped onto come first."},
    {vlanTableName, "VLAN", "vlans", "One row per VLAN."},
};

// The order of a table's rows is that of options, lists and the schema.
// clang-format off
constexpr Column allColumns[] = {
    {switchTableName, "switchName", Holds::switchName, 0, 63, noGap, passed, true, "",
     "NAME", "NAME", "SWITCH", "PSE, BCM or BRIDGE: the name selects the backend",
     "'PSE', 'BCM' or 'BRIDGE', which names the backend too"},
    {switchTableName, "switchLevel", number, 0, maxInt, noGap, misleading, false, "0",
     "--level", "N", "LEVEL", "Level; the highest is the top",
     "the switch with the highest level is the top one"},
    {switchTableName, "switchDevice", text, 0, 127, noGap, passed, false, "",
     "--device", "PATH", "DEVICE", "Device that the backend drives",
     "device node of the chip, name of a bridge"},
    {switchTableName, "numPorts", number, 0, portListBits, noGap, misleading, false, "0",
     "--ports", "N", "PORTS", "Number of ports", "kept; the rows of the ports count"},
    {switchTableName, "vlanEnable", flag, 0, 1, noGap, refused, false, "0",
     "--vlan", "on|off", "VLAN", "802.1Q VLAN mode", "802.1Q: 0 off, 1 on"},
    {switchTableName, "qosEnable", flag, 0, 1, noGap, refused, false, "0",
     "--qos", "on|off", "QOS", "QoS", "0 off, 1 on"},
    {switchTableName, "pauseFrameEnable", flag, 0, 1, noGap, misleading, false, "0",
     "--pause-frames", "on|off", "PAUSE", "Pause frames", "1 on, otherwise off"},
    {switchTableName, "igmpSnoopingEnable", flag, 0, 1, noGap, misleading, false, "0",
     "--igmp-snooping", "on|off", "IGMP", "IGMP snooping", "0 off, 1 on"},
    {switchTableName, "mldSnoopingEnable", flag, 0, 1, noGap, misleading, false, "0",
     "--mld-snooping", "on|off", "MLD", "MLD snooping", "0 off, 1 on"},

    {portTableName, "switchName", Holds::switchName, 0, 63, noGap, passed, true, "",
     "SWITCH", "SWITCH", "SWITCH", "Name of the switch", "switch that has the port"},
    {portTableName, "portNumber", number, 0, portListBits - 1, noGap, ruled, true, "",
     "PORT", "PORT", "PORT", "Number of the port, 0 to 31", "number of the port on that switch"},
    {portTableName, "interfaceName", Holds::portInterface, 0, 63, noGap, passed, false, "",
     "--interface", "NAME", "INTERFACE", "Network interface of the port",
     "network interface of the port"},
    {portTableName, "phyDevice", Holds::mapping, 0, 63, noGap, passed, false, "",
     "--map", "LIST", "MAPPED TO", "Lower ports, e.g. BCM:0,BCM:1",
     "mapping, for example 'BCM:3,BCM:4'"},
    {portTableName, "portType", number, 0, maxInt, noGap, passed, false, "0",
     "--type", "N", "", "Kind of port", "kept, not used"},
    {portTableName, "PVID", number, 0, highestVlan, noGap, refused, false, "1",
     "--pvid", "ID", "PVID", "VLAN id while none is untagged here",
     "unless a VLAN is untagged on the port"},
    {portTableName, "mirroring", number, 0, maxInt, noGap, passed, false, "0",
     "--mirroring", "N", "", "Port mirroring", "kept, not used"},
    {portTableName, "trustMode", number, 0, 4, noGap, refused, false, "0",
     "--trust-mode", "MODE", "TRUST", "QoS trust mode, 0 to 4", "field that decides the priority"},
    {portTableName, "rateLimit", number, 0, mostRate, noGap, misleading, false, "0",
     "--rate-limit", "KBIT", "RATE LIMIT", "Rate limit in kbit/s", "kbit/s"},
    {portTableName, "schedMode", number, 0, 3, 2, misleading, false, "0",
     "--sched-mode", "MODE", "SCHED", "Queue scheduling: 0, 1 or 3", "scheduling of the queues"},
    {portTableName, "numQueues", number, 1, 4, 3, misleading, false, "4",
     "--queues", "N", "QUEUES", "Egress queues: 1, 2 or 4", "egress queues"},
    {portTableName, "queue1Weight", number, 1, maxInt, noGap, misleading, false, "1",
     "--weight1", "W", "", "Weight of queue 1", "share of queue 1"},
    {portTableName, "queue2Weight", number, 1, maxInt, noGap, misleading, false, "1",
     "--weight2", "W", "", "Weight of queue 2", "share of queue 2"},
    {portTableName, "queue3Weight", number, 1, maxInt, noGap, misleading, false, "1",
     "--weight3", "W", "", "Weight of queue 3", "share of queue 3"},
    {portTableName, "queue4Weight", number, 1, maxInt, noGap, misleading, false, "1",
     "--weight4", "W", "", "Weight of queue 4", "share of queue 4"},

    {vlanTableName, "vlanId", number, 1, highestVlan, noGap, ruled, true, "",
     "ID", "ID", "VLAN", "802.1Q VLAN id, 1 to 4094", "802.1Q VLAN id"},
    {vlanTableName, "interfaceName", Holds::interface, 0, 63, noGap, passed, true, "",
     "--interface", "NAME", "INTERFACE", "Linux interface that carries it",
     "Linux interface of the sub-interface"},
    {vlanTableName, "LogicalIfName", text, 0, 63, noGap, passed, false, "",
     "--logical", "NAME", "LOGICAL", "Logical interface name", "logical interface name"},
    {vlanTableName, "fwdMap", Holds::portList, 0, 511, noGap, passed, true, "",
     "--ports", "LIST", "PORTS", "Member ports, e.g. 0,2-4; \"\" for none",
     "member ports, for example '0,1,2'"},
    {vlanTableName, "untagMap", Holds::portList, 0, 511, noGap, passed, false, "",
     "--untagged", "LIST", "UNTAGGED", "Ports that send the VLAN untagged",
     "ports that send the VLAN untagged"},
    {vlanTableName, "inSwitchOnly", flag, 0, 1, noGap, passed, false, "0",
     "--switch-only", "on|off", "SWITCH-ONLY", "Keep the VLAN inside the switches",
     "not 0: the VLAN stays inside the switches"},
    {vlanTableName, "ingressMap", text, 0, 511, noGap, passed, false, "",
     "--ingress-map", "TEXT", "", "Ingress map, only stored", "carried, not interpreted"},
    {vlanTableName, "egressMap", text, 0, 511, noGap, passed, false, "",
     "--egress-map", "TEXT", "", "Egress map, only stored", "likewise"},
};
// clang-format on

// "holds at most N bytes" or the numbers, behind what a column is for.
std::string commentOf(const Column &column)
{
    const std::string comment = column.comment;
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
           "INTEGER PRIMARY KEY AUTOINCREMENT, -- row id, never used again\n";
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

// What a value may be, in the words of JSON Schema.
std::string valueSchema(const Column &column)
{
    const std::string most = std::to_string(column.most);
    const bool bounded = column.outside != Outside::passed;
    if (column.holds == Holds::flag && bounded)
        return R"("enum": [0, 1, null])";
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
    if (column.holds == Holds::portList)
        schema += R"(, "pattern": "^([0-9]+(,[0-9]+)*)?$")";
    if (column.holds == Holds::mapping)
        schema += R"(, "pattern": "^([^:,]+:[0-9]+(,[^:,]+:[0-9]+)*)?$")";
    return schema + ", \"maxLength\": " + most;
}

void appendList(std::string &json, const Table &table)
{
    std::string required, properties;
    for (const Column &column : columnsOf(table.name)) {
        if (column.isIdentity())
            required += (required.empty() ? "\"" : ", \"") + std::string(column.name) + "\"";
        properties += (properties.empty() ? "" : ",") + std::string("\n          \"") +
                      column.name + "\": {" + valueSchema(column) + "}";
    }
    json += std::string(",\n    \"") + table.list + "\": {\n      \"type\": \"array\",\n" +
            "      \"description\": \"" + table.comment + "\",\n      \"items\": {\n" +
            "        \"type\": \"object\",\n        \"required\": [" + required + "],\n" +
            "        \"properties\": {" + properties + "\n        }\n      }\n    }";
}

} // namespace

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
    const auto isOf = [&](const Column &column) { return column.table == table; };
    const auto *begin = std::find_if(std::begin(allColumns), std::end(allColumns), isOf);
    const auto *end = std::find_if_not(begin, std::end(allColumns), isOf);
    return {begin, end};
}

const Column *findColumn(std::string_view table, std::string_view name)
{
    for (const Column &column : columnsOf(table))
        if (column.name == name)
            return &column;
    return nullptr;
}

std::string databaseSchema()
{
    std::string sql =
        "-- The configuration database of the switch manager. Columns are found by name,\n"
        "-- so their order does not matter and further columns do no harm; the order of\n"
        "-- rows does: rows are applied as they were inserted.\n"
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
                       "  \"properties\": {\n    \"$schema\": {\"type\": \"string\"}";
    for (const Table &table : allTables)
        appendList(json, table);
    return json + "\n  }\n}\n";
}

} // namespace swctl
