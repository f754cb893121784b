// The rows of the three tables as the checks need them: what the service reads, and how it is
// written. Columns are found by exact name; NULL reads as 0 or empty, a number by its leading
// digits, a list by its comma-separated entries.
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
    std::set<std::string> columns; // empty if the table does not exist
    std::vector<Row> rows;
};

struct ListEntry {
    std::string text;
    int32_t number = 0; // as the service parses it
    bool plain = false; // written as a plain number
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

// The contents of all three tables, in row order.
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

// The number as the service reads it; 0 for NULL or a missing column.
int32_t numberOf(const Row &row, const char *column);

// A mapping entry as the service reads it; it accepts more than plain numbers.
std::string entryAsRead(const std::string &entry);

// "1,2,3" for a mask; "none" for an empty one.
std::string portListText(uint32_t mask);

// A readable name for a row: "VLAN 30", "port 3 of BCM".
std::string nameOf(std::string_view table, const Row &row);

} // namespace swctl
