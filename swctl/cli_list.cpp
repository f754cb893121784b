#include "swctl/cli_list.h"

#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/text.h"
#include "client/rows/database.h"
#include "swctl/validate.h"

#include <algorithm>
#include <memory>

namespace swctl {
namespace {

void printRows(const TableCommands &table, const std::vector<Row> &rows)
{
    std::vector<std::string> header;
    for (const ListColumn &column : table.list)
        header.emplace_back(column.heading);
    TextTable text(std::move(header));
    for (const Row &row : rows) {
        std::vector<std::string> line;
        for (const ListColumn &column : table.list) {
            const std::string value = shown(row.text(column.column));
            line.push_back(value.empty() ? "-" : value);
        }
        text.add(std::move(line));
    }
    text.print(stdout);
}

// Which VLANs a list shows; what is empty lets every row through.
struct VlanFilter {
    std::string ids; // ranges
    std::string interfaceName;
    std::string port;     // member
    std::string untagged; // port that sends the VLAN untagged
};

bool lists(const Row &row, const char *column, const std::string &port)
{
    const std::vector<std::string> entries = entriesOf(row.text(column));
    return std::any_of(entries.begin(), entries.end(),
                       [&](const std::string &entry) { return toInt(entry) == toInt(port); });
}

bool matches(const VlanFilter &filter, const Row &row)
{
    if (!filter.ids.empty() && !inRanges(filter.ids, toInt(row.text("vlanId"))))
        return false;
    if (!filter.interfaceName.empty() && row.text("interfaceName") != filter.interfaceName)
        return false;
    if (!filter.port.empty() && !lists(row, "fwdMap", filter.port))
        return false;
    return filter.untagged.empty() || lists(row, "untagMap", filter.untagged);
}

int runList(const Program &program, const TableCommands &table, const VlanFilter &filter)
{
    Database database(program.globals.database, Access::read);
    std::vector<Row> rows = database.rows(table.table);
    std::erase_if(rows, [&filter](const Row &row) { return !matches(filter, row); });
    if (program.globals.json)
        printJson(rowsJson(rows));
    else
        printRows(table, rows);
    return exitDone;
}

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

void addListCommand(Program &program, CLI::App &group, const TableCommands &table,
                    const std::string &description, const std::string &examples)
{
    addCommand(
        program, group, "list", description, examples,
        [&program, &table] { return runList(program, table, VlanFilter()); });
}

void addVlanListCommand(Program &program, CLI::App &group)
{
    const auto filter = std::make_shared<VlanFilter>();
    CLI::App *command =
        addCommand(program, group, "list", "List the VLANs",
                   "  swctl vlan list\n  swctl vlan list --id 10,100-199 --json\n"
                   "  swctl vlan list --interface eth0 --untagged-on 3",
                   [&program, filter] { return runList(program, vlanTable, *filter); });
    command->add_option("--id", filter->ids, "Only these ids, e.g. 10,100-199")
        ->type_name("RANGES")
        ->transform(idRanges());
    command->add_option("--interface", filter->interfaceName, "Only VLANs on this Linux interface")
        ->type_name("NAME")
        ->transform(interfaceName());
    command->add_option("--port", filter->port, "Only VLANs whose row names this member port")
        ->type_name("N")
        ->transform(decimal(0, 31));
    command
        ->add_option("--untagged-on", filter->untagged,
                     "Only VLANs whose row has this port untagged")
        ->type_name("N")
        ->transform(decimal(0, 31));
}

} // namespace swctl
