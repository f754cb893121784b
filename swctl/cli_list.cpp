#include "swctl/cli_list.h"

#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/text.h"
#include "client/rows/database.h"
#include "swctl/cli_configuration.h"
#include "swctl/commands.h"
#include "swctl/configuration_columns.h"

#include <algorithm>

namespace swctl {
namespace {

void printRows(const TableRow &table, const std::vector<Row> &rows)
{
    std::vector<std::string> header;
    for (const Column &column : table.columns)
        if (*column.heading != '\0')
            header.emplace_back(column.heading);
    TextTable text(std::move(header));
    for (const Row &row : rows) {
        std::vector<std::string> line;
        for (const Column &column : table.columns) {
            if (*column.heading == '\0')
                continue;
            const std::string value = shown(row.text(column.name));
            line.push_back(value.empty() ? "-" : value);
        }
        text.add(std::move(line));
    }
    text.print(stdout);
}

bool lists(const Row &row, const char *column, const std::string &port)
{
    const std::vector<std::string> entries = entriesOf(row.text(column));
    return std::any_of(entries.begin(), entries.end(),
                       [&](const std::string &entry) { return toInt(entry) == toInt(port); });
}

// Whether the VLAN passes the filters.
bool matches(const Call &call, const Row &row)
{
    if (call.has("--id") && !inRanges(call.text("--id"), toInt(row.text("vlanId"))))
        return false;
    if (call.has("--interface") && row.text("interfaceName") != call.text("--interface"))
        return false;
    if (call.has("--port") && !lists(row, "fwdMap", call.text("--port")))
        return false;
    return !call.has("--untagged-on") || lists(row, "untagMap", call.text("--untagged-on"));
}

int listRows(const Call &call, bool (*isShown)(const Call &, const Row &))
{
    const TableRow &table = tableOf(call.command());
    Database database(call.globals.database, Access::read);
    std::vector<Row> rows = database.rows(table.table);
    std::erase_if(rows, [&](const Row &row) { return !isShown(call, row); });
    if (call.globals.json)
        printJson(rowsJson(rows));
    else
        printRows(table, rows);
    return exitDone;
}

int runVlanList(const Call &call)
{
    return listRows(call, matches);
}

int runList(const Call &call)
{
    return listRows(
        call, [](const Call &, const Row &) { return true; });
}

constexpr OptionRow filters[] = {
    {"--id", "RANGES", "Only these ids, e.g. 10,100-199", idRanges},
    {"--interface", "NAME", "Only VLANs on this Linux interface", interfaceName},
    {"--port", "N", "Only VLANs whose row names this member port", decimal<0, 31>},
    {"--untagged-on", "N", "Only VLANs whose row has this port untagged", decimal<0, 31>},
};

} // namespace

Json rowsJson(const std::vector<Row> &rows)
{
    Json json = Json::array();
    for (const Row &row : rows) {
        Json object = {{"rowid", row.rowId}};
        for (const Row::Cell &cell : row.cells)
            if (cell.isNull())
                object[cell.column] = nullptr;
            else if (cell.isInteger())
                object[cell.column] = std::get<int64_t>(cell.value);
            else
                object[cell.column] = cell.text;
        json.push_back(std::move(object));
    }
    return json;
}

constexpr CommandRow commands::vlanList = {
    "vlan",
    "list",
    "List the VLANs",
    "  swctl vlan list\n  swctl vlan list --id 10,100-199 --json\n"
    "  swctl vlan list --interface eth0 --untagged-on 3",
    runVlanList,
    {filters}};

constexpr CommandRow commands::portList = {"port", "list", "List the ports", "  swctl port list",
                                           runList};

constexpr CommandRow commands::switchList = {"switch", "list", "List the switches",
                                             "  swctl switch list", runList};

} // namespace swctl
