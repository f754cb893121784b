// The rows of the three tables as a check looks at them: what the service reads in
// them, and how it is written. Columns count by their exact names, NULL as 0 or
// empty, numbers by their leading digits, lists by their entries between commas.
#pragma once

#include "client/rows/columns.h"
#include "client/rows/database.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace swctl {

struct TableRows {
    const char *name;
    std::set<std::string> columns; // empty: there is no such table
    std::vector<Row> rows;
};

struct ListEntry {
    std::string text;
    int32_t number = 0; // as the service reads it
    bool plain = false; // written as a number and nothing else
};

struct PortList {
    std::vector<ListEntry> entries;
    uint32_t mask = 0; // bit n for port n, 0 to 31
};

struct SwitchRow {
    std::string name;
    int32_t level;
    int32_t vlanEnable;
};

struct PortRow {
    std::string owner;
    int32_t number;
    std::vector<std::string> mapping; // entries
};

struct VlanRow {
    int32_t id;
    std::string interfaceName;
    bool inSwitchOnly;
    PortList members, untagged;
};

// Everything that the tables say; the rows of each in their own order.
struct Configuration {
    TableRows switchTable{switchTableName, {}, {}};
    TableRows portTable{portTableName, {}, {}};
    TableRows vlanTable{vlanTableName, {}, {}};
    std::vector<SwitchRow> switches;
    std::vector<PortRow> ports;
    std::vector<VlanRow> vlans;

    [[nodiscard]] bool hasSwitch(const std::string &name) const
    {
        return std::any_of(
            switches.begin(), switches.end(), [&](const SwitchRow &sw) { return sw.name == name; });
    }
};

Configuration readConfiguration(Database &database);

// The number that the service reads; 0 for NULL and for a missing column.
int32_t numberOf(const Row &row, const char *column);

// A mapping's entry as the service takes it, which reads more than plain numbers.
std::string entryAsRead(const std::string &entry);

// "1,2,3" for a mask; "none" for an empty one.
std::string portListText(uint32_t mask);

// What a row describes, in the words of the network: "VLAN 30", "port 3 of BCM".
std::string nameOf(std::string_view table, const Row &row);

} // namespace swctl
