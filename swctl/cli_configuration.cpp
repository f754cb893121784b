// The commands that change the configuration database: vlan, port and switch. They
// differ only in their tables.
#include "client/base/failure.h"
#include "swctl/cli_change.h"
#include "swctl/cli_list.h"
#include "swctl/validate.h"

#include <limits>
#include <memory>

namespace swctl {
namespace {

// What the command line says about a change; lives as long as its command.
struct ChangeArguments {
    RowOptions identity;
    RowOptions values;
    ChangeFlags flags;
    bool noMove = false;   // of a VLAN: untagged ports of others stay there
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

RowWish wishOf(RowWish::Kind kind, const TableCommands &table, const ChangeArguments &arguments)
{
    RowWish wish{kind,
                 table.table,
                 rowName(table, arguments.identity),
                 arguments.identity.given(),
                 arguments.values.given(),
                 !arguments.noMove};
    if (!arguments.rowId.empty())
        wish.key.push_back({"rowid", static_cast<int64_t>(std::stoll(arguments.rowId))});
    if (!arguments.newVlanId.empty())
        wish.values.push_back({"vlanId", static_cast<int64_t>(std::stoll(arguments.newVlanId))});
    return wish;
}

// In a batch it is kept for later.
int runChange(const Program &program, const TableCommands &table, RowWish::Kind kind,
              const ChangeArguments &arguments)
{
    RowWish wish = wishOf(kind, table, arguments);
    if (kind == RowWish::Kind::set && wish.values.empty())
        throw Failure(exitUsage, "say what to change; see --help for the options");
    if (program.batch == nullptr)
        return change(program, arguments.flags, wish);
    if (arguments.flags.any())
        throw Failure(exitUsage, "this option belongs to 'swctl batch' itself");
    program.batch->push_back(std::move(wish));
    return exitDone;
}

using SharedChangeArguments = std::shared_ptr<ChangeArguments>;

CLI::App *addChangeCommand(Program &program, CLI::App &group, const TableCommands &table,
                           const std::string &name, RowWish::Kind kind,
                           const std::string &description, const std::string &examples,
                           const SharedChangeArguments &arguments)
{
    CLI::App *command = addCommand(program, group, name, description, examples,
                                   [&program, &table, kind, arguments] {
                                       return runChange(program, table, kind, *arguments);
                                   });
    arguments->identity.addTo(*command, table.arguments);
    if (kind != RowWish::Kind::add)
        command->add_option("--rowid", arguments->rowId, "Row to take when several match")
            ->type_name("N")
            ->transform(
                decimal(std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
    if (&table == &vlanTable && kind != RowWish::Kind::remove)
        command->add_flag("--no-move", arguments->noMove,
                          "Refuse when a port would leave another VLAN's untagged ones");
    if (&table == &vlanTable && kind == RowWish::Kind::set)
        command->add_option("--id", arguments->newVlanId, "New VLAN id")
            ->type_name("ID")
            ->transform(decimal(1, 4094));
    if (kind != RowWish::Kind::remove)
        arguments->values.addTo(*command, table.options);
    addChangeFlags(*command, arguments->flags);
    return command;
}

// add, set and delete of one table.
struct ChangeText {
    const char *name;
    RowWish::Kind kind;
    const char *description;
    const char *examples;
};

void addChangeCommands(Program &program, CLI::App &group, const TableCommands &table,
                       std::initializer_list<ChangeText> texts)
{
    for (const ChangeText &text : texts)
        addChangeCommand(program, group, table, text.name, text.kind, text.description,
                         text.examples, std::make_shared<ChangeArguments>());
}

void addVlanCommands(Program &program)
{
    CLI::App *group = addGroup(program.app, "vlan", "VLANs in the configuration");
    if (!program.mayRun("vlan"))
        return;
    addChangeCommands(
        program, *group, vlanTable,
        {{"add", RowWish::Kind::add, "Add a VLAN",
          "  swctl vlan add 10 --interface eth0 --ports 0-2 --untagged 2\n"
          "  swctl vlan add 20 --interface eth1 --ports 3 --dry-run\n"
          "  swctl vlan add 20 --interface eth1 --ports 3 --switch-only on --offline"},
         {"set", RowWish::Kind::set, "Change a VLAN; what is not named stays as it is",
          "  swctl vlan set 10 --ports 0,1,3\n"
          "  swctl vlan set 10 --untagged \"\" --logical lan10\n"
          "  swctl vlan set 10 --id 11 --confirm 60"},
         {"delete", RowWish::Kind::remove, "Delete a VLAN", "  swctl vlan delete 10"}});
    addVlanListCommand(program, *group);
    addVlanShowCommand(program, *group);
}

void addPortCommands(Program &program)
{
    CLI::App *group = addGroup(program.app, "port", "Ports in the configuration");
    if (!program.mayRun("port"))
        return;
    addChangeCommands(
        program, *group, portTable,
        {{"add", RowWish::Kind::add, "Add a port to a switch",
          "  swctl port add BCM 3 --pvid 1\n"
          "  swctl port add PSE 1 --interface eth1 --map BCM:3,BCM:4 --trust-mode 1"},
         {"set", RowWish::Kind::set, "Change a port; it takes effect when the service starts again",
          "  swctl port set PSE 1 --trust-mode 2\n  swctl port set BCM 3 --pvid 5 --dry-run"},
         {"delete", RowWish::Kind::remove,
          "Delete a port; the service drops it when it starts again",
          "  swctl port delete BCM 4"}});
    addListCommand(program, *group, portTable, "List the ports", "  swctl port list");
    addPortStats(program, *group);
}

void addSwitchRowCommands(Program &program)
{
    CLI::App *group = addGroup(program.app, "switch", "Switches in the configuration");
    if (!program.mayRun("switch"))
        return;
    addChangeCommands(program, *group, switchTable,
                      {{"add", RowWish::Kind::add, "Add a switch",
                        "  swctl switch add BCM --device /dev/bcmsw --ports 5 --level 1 --vlan on"},
                       {"set", RowWish::Kind::set,
                        "Change a switch; it takes effect when the service starts again",
                        "  swctl switch set PSE --qos on"},
                       {"delete", RowWish::Kind::remove,
                        "Delete a switch; the service drops it when it starts again",
                        "  swctl switch delete BCM"}});
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
