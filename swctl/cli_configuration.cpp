// The commands that change and list the configuration database: vlan, port and
// switch. They differ only in their tables.
#include "common/clock.h"
#include "swctl/change.h"
#include "swctl/cli.h"
#include "swctl/configuration_columns.h"
#include "swctl/json.h"
#include "swctl/log.h"
#include "swctl/outcome.h"
#include "swctl/service.h"
#include "swctl/text.h"
#include "swctl/validate.h"

#include <chrono>
#include <limits>
#include <memory>
#include <thread>

namespace swctl {
namespace {

// What the command line says about a change; lives as long as its command.
struct ChangeArguments {
    RowOptions identity;
    RowOptions values;
    bool offline = false;  // only write the row
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

// Refuses a change after which two rows would have the same identity: the
// service would stop at the second one when it starts next.
Check noOtherRow(const TableCommands &table, std::vector<Assignment> identity,
                 const std::string &name)
{
    return [&table, identity = std::move(identity), name](Database &database) {
        if (!database.rowsWhere(table.table, identity).empty())
            throw Failure(exitUsage, printable(name) + " is configured already");
    };
}

const char *operationName(int opCode)
{
    return opCode == SWMGR_DB_INSERT ? "insert" : opCode == SWMGR_DB_UPDATE ? "update" : "delete";
}

void printOutcome(const Written &written, const Outcome &outcome)
{
    Json json = {{"table", written.table},
                 {"rowid", written.rowId},
                 {"operation", operationName(written.opCode)},
                 {"applied", outcome.asked && outcome.status >= 0},
                 {"status", nullptr}};
    if (outcome.asked) {
        json["status"] = outcome.status;
        json["meaning"] = statusInWords(outcome.status);
    }
    json["putBack"] = outcome.putBack;
    printJson(json);
}

// The service's error messages since a time.
std::vector<std::string> errorsSince(int64_t since)
{
    std::vector<std::string> errors;
    LogFollower(SWMGR_LOG_ERROR).read([&](const LogLine &line) {
        // Every command line that was run is logged at error level too.
        if (line.module == SWMGR_RELAY_MODULE_ID && line.time >= since &&
            line.text.rfind("cmd (", 0) != 0)
            errors.push_back(printable(line.text));
    });
    return errors;
}

// Shows why the service refused a change, as its log has it. The service does
// not wait for the log daemon, so its messages may come a little later than its
// answer.
void printReasons(int64_t since)
{
    constexpr int attempts = 5;
    constexpr auto pause = std::chrono::milliseconds(10);
    try {
        std::vector<std::string> errors = errorsSince(since);
        for (int i = 1; i < attempts && errors.empty(); ++i) {
            std::this_thread::sleep_for(pause);
            errors = errorsSince(since);
        }
        for (const std::string &error : errors)
            fprintf(stderr, "  service: %s\n", error.c_str());
    } catch (const Failure &) {
        fprintf(stderr, "  (no log daemon is running that could tell the reason)\n");
    }
}

// Tells the service of a written row unless offline, and the user what came of
// it; gives the exit status.
int finish(const Program &program, Database &database, const Written &written,
           const std::string &name, bool offline)
{
    static constexpr const char *verbs[] = {"added", "changed", "deleted"};
    const char *verb = verbs[written.opCode == SWMGR_DB_INSERT   ? 0
                             : written.opCode == SWMGR_DB_UPDATE ? 1
                                                                 : 2];
    const int64_t start = nanosecondsNow(CLOCK_REALTIME);
    const Outcome outcome = offline ? Outcome() : announce(database, written);
    if (program.globals.json)
        printOutcome(written, outcome);
    if (outcome.status < 0) {
        const std::string fate =
            outcome.putBack ? "the row is as it was" : "the row was not put back: " + outcome.note;
        fprintf(stderr, "swctl: %s: the service answered %s; %s\n", printable(name).c_str(),
                statusInWords(outcome.status).c_str(), fate.c_str());
        printReasons(start);
        return exitRefused;
    }
    if (!program.globals.json)
        printf("%s %s (row %lld)%s\n", printable(name).c_str(), verb,
               static_cast<long long>(written.rowId), offline ? "; the service was not told" : "");
    return exitDone;
}

int runAdd(const Program &program, const TableCommands &table, const ChangeArguments &arguments)
{
    Database database(program.globals.database, Access::write);
    const std::string name = rowName(table, arguments.identity);
    std::vector<Assignment> values = arguments.identity.given();
    // The service itself refuses a second row; offline nobody else would.
    const Check check = arguments.offline ? noOtherRow(table, values, name) : Check();
    for (Assignment &value : arguments.values.given())
        values.push_back(std::move(value));
    const Written written = writeInsert(database, table.table, values, check);
    return finish(program, database, written, name, arguments.offline);
}

std::vector<Assignment> rowKey(const ChangeArguments &arguments)
{
    std::vector<Assignment> key = arguments.identity.given();
    if (!arguments.rowId.empty())
        key.push_back({"rowid", static_cast<int64_t>(std::stoll(arguments.rowId))});
    return key;
}

int runVlanSet(const Program &program, const ChangeArguments &arguments)
{
    std::vector<Assignment> values = arguments.values.given();
    Check check;
    if (!arguments.newVlanId.empty()) {
        const Assignment id{"vlanId", static_cast<int64_t>(std::stoll(arguments.newVlanId))};
        values.push_back(id);
        if (arguments.newVlanId != arguments.identity.text("vlanId"))
            check = noOtherRow(vlanTable, {id}, "VLAN " + arguments.newVlanId);
    }
    if (values.empty())
        throw Failure(exitUsage, "say what to change, for example --ports 0,2");
    Database database(program.globals.database, Access::write);
    const Written written =
        writeUpdate(database, vlanTable.table, rowKey(arguments), values, check);
    return finish(program, database, written, rowName(vlanTable, arguments.identity),
                  arguments.offline);
}

int runVlanDelete(const Program &program, const ChangeArguments &arguments)
{
    Database database(program.globals.database, Access::write);
    const Written written = writeDelete(database, vlanTable.table, rowKey(arguments));
    return finish(program, database, written, rowName(vlanTable, arguments.identity),
                  arguments.offline);
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
    command->add_option("--id", set->newVlanId, "New VLAN id; the sub-interface keeps the old one")
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
