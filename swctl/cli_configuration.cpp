// The commands that change and list the configuration database: vlan, port and
// switch. They differ only in their tables.
#include "swctl/carry_out.h"
#include "swctl/cli.h"
#include "swctl/configuration_columns.h"
#include "swctl/journal.h"
#include "swctl/json.h"
#include "swctl/number.h"
#include "swctl/outcome.h"
#include "swctl/report.h"
#include "swctl/text.h"
#include "swctl/validate.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace swctl {
namespace {

// What the command line says about a change; lives as long as its command.
struct ChangeArguments {
    RowOptions identity;
    RowOptions values;
    bool offline = false;  // only write the row
    bool noVerify = false; // do not look what became of it
    bool force = false;    // although a start would stop at it
    std::string rowId;     // picks one of several rows; empty: none given
    std::string newVlanId; // of `vlan set --id`; empty: stays
};

// "VLAN 10", "port 3 of PSE": how the row is called in messages.
std::string rowName(const TableCommands &table, const RowOptions &identity)
{
    const std::string number = identity.text(table.identity.back());
    if (table.identity.size() == 1)
        return std::string(table.noun) + " " + number;
    return std::string(table.noun) + " " + number + " of " + identity.text(table.identity[0]);
}

ChangeOptions optionsOf(const Program &program, const ChangeArguments &arguments)
{
    ChangeOptions options;
    options.databasePath = program.globals.database;
    options.siteFile = program.globals.site;
    options.wait = program.globals.wait;
    options.offline = arguments.offline;
    options.verify = !arguments.noVerify;
    options.force = arguments.force;
    return options;
}

// Carries a change out, one at a time, and says what became of it.
int change(const Program &program, const ChangeArguments &arguments, const Plan &plan)
{
    const ChangeOptions options = optionsOf(program, arguments);
    { // A database that cannot be used is named before a lock is made beside it.
        const Database database(options.databasePath, Access::write);
    }
    const ChangeLock lock(options.databasePath, options.wait, tellWaiting);
    const Verdict verdict = carryOut(options, plan);
    if (program.globals.json)
        printJson(verdictJson(verdict));
    else
        printVerdict(verdict, options.offline);
    return wordStatus(verdict.word);
}

Row rowOf(const std::vector<Assignment> &values)
{
    Row row;
    for (const Assignment &value : values)
        row.set(value);
    return row;
}

constexpr int maskPorts = 32;

std::string listText(uint32_t mask)
{
    std::string text;
    for (int port = 0; port < maskPorts; ++port)
        if ((mask >> port & 1) != 0)
            text += (text.empty() ? "" : ",") + std::to_string(port);
    return text;
}

// As the service reads it.
uint32_t maskOf(const std::string &list)
{
    uint32_t mask = 0;
    for (size_t start = 0; start < list.size();) {
        const size_t end = std::min(list.find(',', start), list.size());
        const int port = toInt(list.substr(start, end - start));
        mask |= end > start && port >= 0 && port < maskPorts ? 1u << port : 0;
        start = end + 1;
    }
    return mask;
}

// A port is untagged in one VLAN. The service sees to it in memory only, so the
// rows of the others are changed with this one; `replaced` is the row that it was.
void moveUntagged(Database &database, const Row &row, int64_t replaced, ChangeSet &changes)
{
    const uint32_t taken = maskOf(row.text("untagMap"));
    for (Row &other : database.rows(vlanTable.table)) {
        const uint32_t had = maskOf(other.text("untagMap"));
        if (other.rowId == replaced || (had & taken) == 0)
            continue;
        Row without = other;
        without.set({"untagMap", listText(had & ~taken)});
        changes.consequences.push_back("port " + listText(had & taken) +
                                       " is no longer untagged in VLAN " + other.text("vlanId"));
        changes.rows.push_back({vlanTable.table, std::move(other), std::move(without)});
    }
}

[[noreturn]] void refuseSecond(const std::string &name)
{
    throw Failure(exitRefused,
                  "refused: " + printable(name) + " is configured already; nothing was changed");
}

int runAdd(const Program &program, const TableCommands &table, const ChangeArguments &arguments)
{
    return change(
        program, arguments,
        [&](Database &database) {
            ChangeSet changes;
            changes.what = rowName(table, arguments.identity);
            changes.verb = "added";
            std::vector<Assignment> values = arguments.identity.given();
            if (!database.rowsWhere(table.table, values).empty())
                refuseSecond(changes.what);
            for (Assignment &value : arguments.values.given())
                values.push_back(std::move(value));
            const Row row = rowOf(values);
            changes.rows.push_back({table.table, std::nullopt, row});
            if (&table == &vlanTable)
                moveUntagged(database, row, /*replaced=*/0, changes);
            return changes;
        });
}

// The one row that a key names. More than one cannot be told apart by the service
// either, so that is refused as well.
Row onlyRow(Database &database, const std::vector<Assignment> &key, const std::string &name)
{
    std::vector<Row> found = database.rowsWhere(vlanTable.table, key);
    if (found.size() == 1)
        return std::move(found.front());
    if (found.empty())
        throw Failure(exitUsage, "there is no " + printable(name) + " in the database" +
                                     (key.size() > 1 ? " in that row" : ""));
    std::string message = std::to_string(found.size()) + " rows of " + vlanTable.table +
                          " match; name one of them with --rowid:";
    for (const Row &row : found)
        message += " " + std::to_string(row.rowId);
    throw Failure(exitUsage, message);
}

std::vector<Assignment> rowKey(const ChangeArguments &arguments)
{
    std::vector<Assignment> key = arguments.identity.given();
    if (!arguments.rowId.empty())
        key.push_back({"rowid", static_cast<int64_t>(std::stoll(arguments.rowId))});
    return key;
}

// What an update event cannot do: the service leaves the old entry and the old
// sub-interface where they are.
bool movesAway(const Row &before, const Row &after)
{
    for (const char *column : {"vlanId", "interfaceName", "inSwitchOnly"})
        if (before.text(column) != after.text(column))
            return true;
    return false;
}

ChangeSet vlanSetPlan(Database &database, const ChangeArguments &arguments,
                      const std::vector<Assignment> &values)
{
    ChangeSet changes;
    changes.what = rowName(vlanTable, arguments.identity);
    changes.verb = "changed";
    const Row before = onlyRow(database, rowKey(arguments), changes.what);
    Row after = before;
    for (const Assignment &value : values)
        after.set(value);
    if (after.text("vlanId") != before.text("vlanId") &&
        !database.rowsWhere(vlanTable.table, {values.back()}).empty())
        refuseSecond("VLAN " + after.text("vlanId"));
    if (movesAway(before, after)) {
        // A row of its own: the old one goes, and its id is not used again.
        std::erase_if(after.cells, [&](const Row::Cell &cell) {
            return cell.column == "id" && cell.value == Value(before.rowId);
        });
        after.rowId = 0;
        changes.rows.push_back({vlanTable.table, before, std::nullopt});
        changes.rows.push_back({vlanTable.table, std::nullopt, after});
    } else {
        changes.rows.push_back({vlanTable.table, before, after});
    }
    moveUntagged(database, after, before.rowId, changes);
    return changes;
}

int runVlanSet(const Program &program, const ChangeArguments &arguments)
{
    std::vector<Assignment> values = arguments.values.given();
    if (!arguments.newVlanId.empty())
        values.push_back({"vlanId", static_cast<int64_t>(std::stoll(arguments.newVlanId))});
    if (values.empty())
        throw Failure(exitUsage, "say what to change, for example --ports 0,2");
    return change(program, arguments,
                  [&](Database &database) { return vlanSetPlan(database, arguments, values); });
}

int runVlanDelete(const Program &program, const ChangeArguments &arguments)
{
    return change(
        program, arguments,
        [&](Database &database) {
            ChangeSet changes;
            changes.what = rowName(vlanTable, arguments.identity);
            changes.verb = "deleted";
            changes.rows.push_back({vlanTable.table,
                                    onlyRow(database, rowKey(arguments), changes.what),
                                    std::nullopt});
            return changes;
        });
}

void printJsonRows(const std::vector<Row> &rows)
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
    printJson(json);
}

int runList(const Program &program, const TableCommands &table)
{
    Database database(program.globals.database, Access::read);
    const std::vector<Row> rows = database.rows(table.table);
    if (program.globals.json) {
        printJsonRows(rows);
        return exitDone;
    }
    std::vector<std::string> header;
    for (const ListColumn &column : table.list)
        header.emplace_back(column.heading);
    TextTable text(std::move(header));
    for (const Row &row : rows) {
        std::vector<std::string> line;
        for (const ListColumn &column : table.list) {
            const std::string value = printable(row.text(column.column));
            line.push_back(value.empty() ? "-" : value);
        }
        text.add(std::move(line));
    }
    text.print(stdout);
    return exitDone;
}

using SharedChangeArguments = std::shared_ptr<ChangeArguments>;

void addOfflineFlag(CLI::App &command, ChangeArguments &arguments)
{
    command.add_flag("--offline", arguments.offline, "Only write the row; do not tell the service");
    command.add_flag("--no-verify", arguments.noVerify,
                     "Do not look at the hardware afterwards, which is faster");
    command.add_flag("--force", arguments.force,
                     "Do it although a start of the service would stop at it");
}

void addAddCommand(Program &program, CLI::App &group, const TableCommands &table,
                   const std::string &description, const std::string &examples)
{
    const SharedChangeArguments arguments = std::make_shared<ChangeArguments>();
    CLI::App *command =
        addCommand(program, group, "add", description, examples,
                   [&program, &table, arguments] { return runAdd(program, table, *arguments); });
    arguments->identity.addTo(*command, table.arguments);
    arguments->values.addTo(*command, table.options);
    addOfflineFlag(*command, *arguments);
}

void addListCommand(Program &program, CLI::App &group, const TableCommands &table,
                    const std::string &description, const std::string &examples)
{
    addCommand(
        program, group, "list", description, examples,
        [&program, &table] { return runList(program, table); });
}

// `set` and `delete`, which name a row that exists.
CLI::App *addVlanCommand(Program &program, CLI::App &group, const std::string &name,
                         const std::string &description, const std::string &examples,
                         int (*run)(const Program &, const ChangeArguments &),
                         const SharedChangeArguments &arguments)
{
    CLI::App *command = addCommand(program, group, name, description, examples,
                                   [&program, run, arguments] { return run(program, *arguments); });
    arguments->identity.addTo(*command, vlanTable.arguments);
    command->add_option("--rowid", arguments->rowId, "Row to take when several have this id")
        ->type_name("N")
        ->transform(
            decimal(std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
    addOfflineFlag(*command, *arguments);
    return command;
}

void addVlanCommands(Program &program)
{
    CLI::App *group = addGroup(program.app, "vlan", "VLANs in the configuration");
    if (!program.mayRun("vlan"))
        return;
    addAddCommand(program, *group, vlanTable, "Add a VLAN",
                  "  swctl vlan add 10 --interface eth0 --ports 0-2 --untagged 2\n"
                  "  swctl vlan add 20 --interface eth1 --ports 3 --switch-only on --offline");
    const SharedChangeArguments set = std::make_shared<ChangeArguments>();
    CLI::App *command =
        addVlanCommand(program, *group, "set", "Change a VLAN; what is not named stays as it is",
                       "  swctl vlan set 10 --ports 0,1,3\n"
                       "  swctl vlan set 10 --untagged \"\" --logical lan10\n"
                       "  swctl vlan set 10 --id 11",
                       runVlanSet, set);
    command->add_option("--id", set->newVlanId, "New VLAN id")
        ->type_name("ID")
        ->transform(decimal(1, 4094));
    set->values.addTo(*command, vlanTable.options);
    addVlanCommand(program, *group, "delete", "Delete a VLAN", "  swctl vlan delete 10",
                   runVlanDelete, std::make_shared<ChangeArguments>());
    addListCommand(program, *group, vlanTable, "List the VLANs",
                   "  swctl vlan list\n  swctl vlan list --json");
}

void addPortCommands(Program &program)
{
    CLI::App *group = addGroup(program.app, "port", "Ports in the configuration");
    if (!program.mayRun("port"))
        return;
    addAddCommand(program, *group, portTable, "Add a port to a switch",
                  "  swctl port add BCM 3 --pvid 1\n"
                  "  swctl port add PSE 1 --interface eth1 --map BCM:3,BCM:4 --trust-mode 1");
    addListCommand(program, *group, portTable, "List the ports", "  swctl port list");
}

void addSwitchRowCommands(Program &program)
{
    CLI::App *group = addGroup(program.app, "switch", "Switches in the configuration");
    if (!program.mayRun("switch"))
        return;
    addAddCommand(program, *group, switchTable, "Add a switch",
                  "  swctl switch add BCM --device /dev/bcm53101 --ports 5 --level 1 --vlan on");
    addListCommand(program, *group, switchTable, "List the switches", "  swctl switch list");
}

} // namespace

void addConfigurationCommands(Program &program)
{
    addVlanCommands(program);
    addPortCommands(program);
    addSwitchRowCommands(program);
}

} // namespace swctl
