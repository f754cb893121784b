// The commands that change rows: vlan, port and switch. They differ only in their tables.
#include "swctl/cli_configuration.h"

#include "client/base/failure.h"
#include "swctl/cli_change.h"
#include "swctl/commands.h"
#include "swctl/configuration_columns.h"

#include <cstring>
#include <stdexcept>

namespace swctl {
namespace {

struct KindRow {
    const char *command;
    RowWish::Kind kind;
};

constexpr KindRow kinds[] = {
    {"add", RowWish::Kind::add},
    {"set", RowWish::Kind::set},
    {"delete", RowWish::Kind::remove},
};

constexpr const TableRow *tables[] = {&vlanTable, &portTable, &switchTable};

RowWish::Kind kindOf(const CommandRow &command)
{
    for (const KindRow &row : kinds)
        if (strcmp(row.command, command.name) == 0)
            return row.kind;
    throw std::logic_error(std::string("there is no change ") + command.name);
}

// The row's name in messages: "VLAN 10", "port 3 of PSE".
std::string rowName(const TableRow &table, const std::vector<Assignment> &key, const Call &call)
{
    if (&table == &vlanTable)
        return "VLAN " + std::to_string(std::get<int64_t>(key.front().value));
    const char *number = table.columns[key.size() - 1].option;
    const std::string name = std::string(table.noun) + " " + call.text(number);
    return key.size() == 1 ? name : name + " of " + call.text(table.columns[0].option);
}

int runChange(const Call &call)
{
    std::vector<RowWish> wishes = rowWishesOf(call);
    if (wishes.size() == 1)
        return change(call, wishes.front());
    constexpr const char *verbs[] = {"added", "changed", "deleted"};
    const char *verb = verbs[static_cast<size_t>(wishes.front().kind)];
    return change(call, BatchWish{"VLANs " + call.text("ID"), std::move(wishes), verb});
}

std::string oneOrSeveralIds(const std::string &text)
{
    return text.find_first_of(",-", 1) == std::string::npos
               ? numberWithin(text, lowestVlan, highestVlan)
               : idRanges(text);
}

// The id of a VLAN, or several: 10,400-410.
constexpr OptionRow vlanIds[] = {
    {.name = "ID",
     .type = "ID",
     .help = "802.1Q VLAN id, 1 to 4094; 400-410 or 7,9 for several",
     .check = oneOrSeveralIds,
     .required = true},
};

constexpr OptionRow rowIdOption = {"--rowid", "N", "Row to use if several match",
                                   decimal<minInt, maxInt>};
constexpr OptionRow noMoveOption = {"--no-move", nullptr,
                                    "Refuse if a port would stop being untagged in another VLAN"};

constexpr OptionRow addVlanOptions[] = {noMoveOption};
constexpr OptionRow setVlanOptions[] = {
    rowIdOption,
    noMoveOption,
    {"--id", "ID", "New VLAN id", decimal<lowestVlan, highestVlan>},
};
constexpr OptionRow whichRow[] = {rowIdOption};

} // namespace

const TableRow &tableOf(const CommandRow &command)
{
    for (const TableRow *table : tables)
        if (strcmp(table->group, command.group) == 0)
            return *table;
    throw std::logic_error(std::string("there is no table for ") + command.group);
}

namespace {

// `vlanId` identifies a VLAN's row.
RowWish rowWishOf(const Call &call, const TableRow &table, int64_t vlanId)
{
    RowWish wish{kindOf(call.command()), table.table, {}, {}, {}, true};
    for (const Column &column : table.columns) {
        const char *option = column.option;
        const bool isKey = column.isIdentity();
        if (wish.kind == RowWish::Kind::remove && !isKey)
            break;
        if (!call.has(option))
            continue;
        const Value value = isKey && &table == &vlanTable ? Value(vlanId)
                            : column.isNumber()           ? Value(call.number(option))
                                                          : Value(call.text(option));
        (isKey ? wish.key : wish.values).push_back({column.name, value});
    }
    wish.name = rowName(table, wish.key, call);
    if (wish.kind != RowWish::Kind::add && call.has("--rowid"))
        wish.key.push_back({"rowid", call.number("--rowid")});
    if (&table == &vlanTable && wish.kind != RowWish::Kind::remove)
        wish.mayMove = !call.flag("--no-move");
    if (&table == &vlanTable && wish.kind == RowWish::Kind::set && call.has("--id"))
        wish.values.push_back({"vlanId", call.number("--id")});
    if (wish.kind == RowWish::Kind::set && wish.values.empty())
        throw Failure(exitUsage, "nothing to change; see --help for the options");
    return wish;
}

} // namespace

std::vector<RowWish> rowWishesOf(const Call &call)
{
    const TableRow &table = tableOf(call.command());
    if (&table != &vlanTable)
        return {rowWishOf(call, table, 0)};
    std::vector<RowWish> wishes;
    for (int id = lowestVlan; id <= highestVlan; ++id)
        if (inRanges(call.text("ID"), id))
            wishes.push_back(rowWishOf(call, table, id));
    if (wishes.size() > 1 && wishes.front().kind != RowWish::Kind::add && call.has("--rowid"))
        throw Failure(exitUsage, "--rowid names one row, but several VLANs are given");
    if (wishes.size() > 1 && wishes.front().kind == RowWish::Kind::set && call.has("--id"))
        throw Failure(exitUsage, "--id goes with one VLAN only");
    return wishes;
}

constexpr CommandRow commands::vlanAdd = {
    "vlan",
    "add",
    "Add a VLAN",
    "  swctl vlan add 10 --interface eth0 --ports 0-2 --untagged 2\n"
    "  swctl vlan add 400-410 --interface eth1 --ports 3 --dry-run\n"
    "  swctl vlan add 20 --interface eth1 --ports 3 --switch-only on --offline",
    runChange,
    {vlanIds, addVlanOptions, valuesOf(vlanOptions), changeFlags}};

constexpr CommandRow commands::vlanSet = {
    "vlan",
    "set",
    "Change a VLAN; values that are not given stay as they are",
    "  swctl vlan set 10 --ports 0,1,3\n"
    "  swctl vlan set 10,20 --ports +4,-2\n"
    "  swctl vlan set 10 --untagged \"\" --logical lan10\n"
    "  swctl vlan set 10 --id 11 --confirm 60",
    runChange,
    {vlanIds, setVlanOptions, valuesOf(vlanOptions), changeFlags}};

constexpr CommandRow commands::vlanDelete = {"vlan",          "delete",
                                             "Delete a VLAN", "  swctl vlan delete 10",
                                             runChange,       {vlanIds, whichRow, changeFlags}};

constexpr CommandRow commands::portAdd = {
    "port",
    "add",
    "Add a port to a switch",
    "  swctl port add BCM 3 --pvid 1\n"
    "  swctl port add PSE 1 --interface eth1 --map BCM:3,BCM:4 --trust-mode 1",
    runChange,
    {portOptions, changeFlags}};

constexpr CommandRow commands::portSet = {
    "port",
    "set",
    "Change a port; takes effect when the service starts again",
    "  swctl port set PSE 1 --trust-mode 2\n  swctl port set BCM 3 --pvid 5 --dry-run",
    runChange,
    {keyOf(portOptions), whichRow, valuesOf(portOptions), changeFlags}};

constexpr CommandRow commands::portDelete = {
    "port",
    "delete",
    "Delete a port; takes effect when the service starts again",
    "  swctl port delete BCM 4",
    runChange,
    {keyOf(portOptions), whichRow, changeFlags}};

constexpr CommandRow commands::switchAdd = {
    "switch",       "add",
    "Add a switch", "  swctl switch add BCM --device /dev/bcmsw --ports 5 --level 1 --vlan on",
    runChange,      {switchOptions, changeFlags}};

constexpr CommandRow commands::switchSet = {
    "switch",
    "set",
    "Change a switch; takes effect when the service starts again",
    "  swctl switch set PSE --qos on",
    runChange,
    {keyOf(switchOptions), whichRow, valuesOf(switchOptions), changeFlags}};

constexpr CommandRow commands::switchDelete = {
    "switch",
    "delete",
    "Delete a switch; takes effect when the service starts again",
    "  swctl switch delete BCM",
    runChange,
    {keyOf(switchOptions), whichRow, changeFlags}};

} // namespace swctl
