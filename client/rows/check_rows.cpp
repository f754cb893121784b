#include "client/rows/check_rows.h"

#include "client/base/number.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"

namespace swctl {
namespace {

// Only digits, without leading zeros.
bool isPlainNumber(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos &&
           (text.size() == 1 || text[0] != '0');
}

PortList portListOf(const std::string &text)
{
    PortList list;
    for (std::string &entry : entriesOf(text)) {
        const int32_t number = toInt(entry);
        const size_t blank = entry[0] == ' ' ? 1 : 0; // as in "1, 2"
        const bool plain = isPlainNumber(std::string_view(entry).substr(blank));
        if (number >= 0 && number < 32)
            list.mask |= 1u << number;
        list.entries.push_back({std::move(entry), number, plain});
    }
    return list;
}

void readTable(Database &database, TableRows &table)
{
    Statement columns(database,
                      std::string("SELECT 0, name FROM pragma_table_info('") + table.name + "')");
    while (columns.step())
        table.columns.insert(columns.row().text("name"));
    if (!table.columns.empty())
        table.rows = database.rows(table.name);
}

} // namespace

Configuration readConfiguration(Database &database)
{
    Configuration all;
    for (TableRows *table : {&all.switchTable, &all.portTable, &all.vlanTable})
        readTable(database, *table);
    for (const Row &row : all.switchTable.rows)
        all.switches.push_back(
            {row.text("switchName"), numberOf(row, "switchLevel"), numberOf(row, "vlanEnable")});
    for (const Row &row : all.portTable.rows)
        all.ports.push_back({row.text("switchName"), numberOf(row, "portNumber"),
                             entriesOf(row.text("phyDevice"))});
    for (const Row &row : all.vlanTable.rows)
        all.vlans.push_back({numberOf(row, "vlanId"), row.text("interfaceName"),
                             numberOf(row, "inSwitchOnly") != 0, portListOf(row.text("fwdMap")),
                             portListOf(row.text("untagMap"))});
    return all;
}

int32_t numberOf(const Row &row, const char *column)
{
    const std::string *text = row.find(column);
    return text == nullptr ? 0 : toInt(*text);
}

std::string entryAsRead(const std::string &entry)
{
    const size_t colon = std::min(entry.find(':'), entry.size() - 1);
    return entry.substr(0, colon) + ":" + std::to_string(toInt(entry.substr(colon + 1)));
}

std::string portListText(uint32_t mask)
{
    return mask != 0 ? listOf(mask) : "none";
}

std::string nameOf(std::string_view table, const Row &row)
{
    if (table == vlanTableName)
        return "VLAN " + std::to_string(numberOf(row, "vlanId"));
    if (table == portTableName)
        return "port " + std::to_string(numberOf(row, "portNumber")) + " of " +
               printable(row.text("switchName"));
    return "switch " + printable(row.text("switchName"));
}

} // namespace swctl
