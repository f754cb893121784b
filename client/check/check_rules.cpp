// The rules that apply to every device, and the SQL triggers for rules and columns. To add a
// rule, add a row here, a guard if SQL can express it, and the code in check.cpp that finds
// it. Rules of a single device are in its own folder.
#include "client/check/check_rules.h"

#include "client/gateway/devices.h"
#include "client/rows/columns.h"

#include <algorithm>
#include <functional>

namespace swctl {
namespace {

constexpr auto error = Severity::error;
constexpr auto warning = Severity::warning;

// In the order in which they are listed: the rules for any row, then those for switches, ports
// and VLANs.
constexpr Rule general[] = {
    {nullptr, "start-stops", error, "a start of the service stops at this row",
     "The service stops at a row that it cannot apply, so no later row or table reaches the "
     "switches.",
     "Correct the row for the reason shown, or delete it, then restart the service."},
    {nullptr, "table-missing", error, "a table does not exist",
     "The service reads the tables one after the other and stops at the first that is missing.",
     "Create it with schema.sql, which leaves existing tables alone."},
    {nullptr, "column-missing", error, "a column does not exist",
     "The service looks columns up by their exact names, and a missing one counts as 0 or empty "
     "in every row.",
     "Add it with ALTER TABLE as schema.sql declares it; column names are case-sensitive."},
    {nullptr, "text-too-long", error, "a text is longer than its field",
     "The service refuses a row whose text does not fit, and a start stops there.",
     "Shorten the text."},
    {nullptr, "interface-bad-name", error, "an interface name has an invalid character",
     "The names of a VLAN's interface and of a bridge's port become part of command lines; the "
     "service refuses a name with characters other than letters, digits and _ . : @ -, and a "
     "start stops at its row.",
     "Use the name that 'ip link' shows."},
    {nullptr, "number-text", warning, "a value is not a plain number",
     "The service reads the leading digits, or 0 if there are none, and clamps the value to 32 "
     "bits.",
     "Write the intended number with decimal digits only."},
    {nullptr, "value-range", error, "a number is outside its range",
     "A value that a switch does not support is refused or ignored, so the setting in effect is "
     "not the one in the row; a PVID above 4094 even stops every VLAN of the chip.",
     "Use a value in the range shown."},
    {switchTableName, "switch-unknown-name", error, "no backend drives a switch of this name",
     "The name selects the backend, so a switch with another name cannot be set up, and a start "
     "stops there.",
     "Name the switch BCM (the chip), PSE (the engine) or BRIDGE (a Linux bridge), in capitals."},
    {switchTableName, "switch-duplicate", error, "two rows describe the same switch",
     "The service refuses the second row, and a start stops there.", "Delete one of the rows."},
    {switchTableName, "same-level", warning, "two switches are on the same level",
     "The first row with the highest level is the top of the hierarchy, so the order of rows "
     "decides which switch receives requests for VLANs and bandwidth.",
     "Give the engine a higher level than the chip."},
    {portTableName, "port-without-switch", error, "the switch of a port does not exist",
     "The service cannot create a port of an unknown switch, and a start stops there.",
     "Correct switchName, or add the switch."},
    {portTableName, "port-duplicate", error, "two rows describe the same port",
     "The service refuses the second row, and a start stops there.", "Delete one of the rows."},
    {portTableName, "port-number-range", error, "the switch does not have this port",
     "The chip has ports 0 to 4 and refuses any other, after which no VLAN can be added or "
     "changed; the engine has ports 0 to 7 and its tools refuse any other.",
     "Correct the number, or delete the row."},
    {portTableName, "port-beyond-count", warning,
     "a port number exceeds the switch's number of ports",
     "numPorts and the port rows contradict each other; the service uses the rows.",
     "Correct numPorts, or delete the port's row."},
    {portTableName, "mapping-own-switch", error, "a port is mapped onto its own switch",
     "Commands would loop forever, so the service refuses the row, and a start stops there.",
     "Map the port onto a port of the switch below."},
    {portTableName, "mapping-nowhere", error, "a port is mapped onto a port that no row describes",
     "The service refuses such a row, and a start stops there.",
     "Write SWITCH:PORT entries separated by commas, and add the rows of those ports first."},
    {portTableName, "mapping-later-row", error, "a port is mapped onto a port of a later row",
     "Rows are applied in table order, and the lower port does not exist yet, so a start stops at "
     "this row.",
     "Delete the row of the upper port and add it again, so that it comes last."},
    {portTableName, "mapping-level", warning,
     "a port is mapped onto a switch that is not below its own",
     "Commands are passed down along the mappings, but the levels determine the top switch.",
     "Give the upper switch the higher level."},
    {vlanTableName, "vlan-id-range", error, "a VLAN id is outside 1 to 4094",
     "The chip receives ids as 16 bits, so any other id is refused or overwrites the VLAN with "
     "the same low bits.",
     "Use an id from 1 to 4094."},
    {vlanTableName, "vlan-duplicate", error, "two rows describe the same VLAN",
     "The service refuses the second row, and a start stops there.", "Delete one of the rows."},
    {vlanTableName, "interface-missing", error, "a VLAN has no interface",
     "Without it there is no parent for the sub-interface, and the engine cannot look up the "
     "hardware address that it needs.",
     "Name the interface that carries it: 'swctl vlan set ID --interface NAME'."},
    {vlanTableName, "interface-name-long", error,
     "the name of the sub-interface is longer than 15 characters",
     "Linux does not accept longer names, so the sub-interface is not created; the service "
     "continues without it.",
     "Use an interface with a shorter name."},
    {vlanTableName, "interface-unknown", error, "the interface of a VLAN does not exist",
     "The sub-interface cannot be created, and if the engine carries the VLAN, the service stops "
     "for lack of a hardware address.",
     "Correct the name, or create the interface first."},
    {vlanTableName, "list-text", error, "an entry of a port list is not a plain number",
     "The service reads the leading digits of an entry, or port 0 if there are none: 1-3 means "
     "port 1, x means port 0.",
     "Write plain numbers separated by commas, such as 1,2,3."},
    {vlanTableName, "port-missing", error, "a port list names a port that the chip does not have",
     "The chip has ports 0 to 4: it refuses a VLAN with a port from 5 to 15, and higher "
     "ones are cut off before they reach it.",
     "Remove the port from the list."},
    {vlanTableName, "untag-without-membership", error,
     "a port is untagged in a VLAN that it is not a member of",
     "Untagged frames received on that port belong to a VLAN that the port is not in, so they "
     "are dropped.",
     "Add the port to fwdMap, or remove it from untagMap."},
    {vlanTableName, "untag-twice", error, "a port is untagged in two VLANs",
     "Untagged frames received on that port belong to the last of these VLANs; in the others the "
     "port only sends.",
     "Make the port untagged in only one VLAN."},
};

std::string quotedName(const Device &device)
{
    return "'" + std::string(device.name) + "'";
}

// "'BCM', 'BRIDGE'"
std::string quotedNames(const std::function<bool(const Device &)> &chosen)
{
    std::string all;
    for (const Device *device : devices())
        if (chosen(*device))
            all += (all.empty() ? "" : ", ") + quotedName(*device);
    return all;
}

std::string nameUnknown()
{
    return "ifnull(NEW.switchName, '') NOT IN (" +
           quotedNames([](const Device &) { return true; }) + ")";
}

std::string portBeyond()
{
    std::string sql;
    for (const Device *device : devices())
        sql += (sql.empty() ? "" : "\n      OR ") + ("NEW.switchName = " + quotedName(*device)) +
               " AND #portNumber NOT BETWEEN 0 AND " + std::to_string(device->portCount - 1);
    return sql;
}

// The total length of the entries of NEW.phyDevice that name a port in the rows.
#define MAPPED_LENGTH(rows)                                                                        \
    "(SELECT ifnull(sum(length(m.t) - length(replace(m.t, ',' || p.e || ',', ''))), 0) FROM\n"     \
    "      (SELECT DISTINCT switchName || ':' || portNumber AS e FROM swPortConfig" rows ") p,\n"  \
    "      (SELECT ',' || replace(NEW.phyDevice, ',', ',,') || ',' AS t) m)"
#define MAPPING_LENGTH "length(',' || replace(NEW.phyDevice, ',', ',,') || ',')"

constexpr Guard generalGuards[] = {
    {"switch-unknown-name", switchTableName, nullptr, nameUnknown},
    {"switch-duplicate", switchTableName,
     "EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.rowid <> NEW.rowid\n"
     "      AND o.switchName = NEW.switchName)"},

    {"port-without-switch", portTableName,
     "NOT EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.switchName = NEW.switchName)"},
    {"port-duplicate", portTableName,
     "EXISTS (SELECT 1 FROM swPortConfig o WHERE o.rowid <> NEW.rowid\n"
     "      AND o.switchName = NEW.switchName AND #o.portNumber = #portNumber)"},
    {"port-number-range", portTableName, nullptr, portBeyond},
    {"mapping-own-switch", portTableName,
     "instr(',' || NEW.phyDevice, ',' || NEW.switchName || ':') > 0"},
    {"mapping-nowhere", portTableName,
     "NEW.phyDevice <> '' AND " MAPPING_LENGTH " <>\n      " MAPPED_LENGTH("")},
    {"mapping-later-row", portTableName,
     "NEW.phyDevice <> '' AND " MAPPING_LENGTH
     " <>\n      " MAPPED_LENGTH(" WHERE rowid < NEW.rowid")},

    {"vlan-id-range", vlanTableName, "#vlanId NOT BETWEEN 1 AND 4094"},
    {"vlan-duplicate", vlanTableName,
     "EXISTS (SELECT 1 FROM vlanEncapIf o WHERE o.rowid <> NEW.rowid\n"
     "      AND #o.vlanId = #vlanId)"},
    {"interface-missing", vlanTableName,
     "ifnull(NEW.interfaceName, '') = '' AND #inSwitchOnly = 0"},
    {"interface-name-long", vlanTableName,
     "NEW.interfaceName <> '' AND length(NEW.interfaceName || '.' || #vlanId) > 15"},
};

bool isNameCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.';
}

// The expansion of a $word in a guard of that device.
std::string wordMeant(std::string_view word, const Device &device)
{
    if (word == "self")
        return quotedName(device);
    return quotedNames(
        [&](const Device &other) { return other.takesLists && other.name != device.name; });
}

// A condition with #, @ and $ expanded.
std::string expanded(std::string_view condition, const Device *device)
{
    std::string sql;
    while (!condition.empty()) {
        const char mark = condition.front();
        condition.remove_prefix(1);
        const bool named = !condition.empty() && isNameCharacter(condition.front());
        if ((mark != '#' && mark != '@' && mark != '$') || !named) {
            sql += mark;
            continue;
        }
        const auto end = std::find_if_not(condition.begin(), condition.end(), isNameCharacter);
        std::string column(condition.begin(), end);
        condition.remove_prefix(column.size());
        if (mark == '$') {
            sql += wordMeant(column, *device);
            continue;
        }
        if (column.find('.') == std::string::npos)
            column.insert(0, "NEW.");
        if (mark == '#')
            sql.append("CAST(CAST(ifnull(").append(column).append(", 0) AS TEXT) AS INTEGER)");
        else
            sql.append("replace(',' || ifnull(").append(column).append(", '') || ',', ', ', ',')");
    }
    return sql;
}

// A trigger statement that refuses the row if the condition holds.
std::string refusal(const std::string &rule, const std::string &fault, const std::string &condition,
                    const Device *device = nullptr)
{
    return "    SELECT RAISE(ABORT, '" + rule + ": " + fault + "')\n    WHERE " +
           expanded(condition, device) + ";\n";
}

std::string listRefusal(const std::string &column)
{
    const std::string list = "@" + column;
    return refusal("list-text", column + " holds numbers separated by commas",
                   list + " GLOB '*[^0-9,]*' OR " + list + " GLOB '*,0[0-9]*'\n" +
                       "      OR instr(',' || NEW." + column + " || ',', ', ,')");
}

std::string columnRefusals(const Column &column)
{
    const std::string name = column.name;
    const std::string place = std::string(column.table) + "." + name;
    if (column.isNumber()) {
        if (column.outside != Outside::refused)
            return {};
        return refusal("value-range", place + " accepts " + column.values(),
                       "#" + name + " NOT BETWEEN " + std::to_string(column.least) + " AND " +
                           std::to_string(column.most));
    }
    const std::string most = std::to_string(column.most);
    std::string sql = refusal("text-too-long", place + " holds at most " + most + " bytes",
                              "length(CAST(NEW." + name + " AS BLOB)) > " + most);
    if (column.holds == Holds::interface)
        sql += refusal("interface-bad-name", place + " accepts letters, digits and _ . : @ -",
                       "NEW." + name + " GLOB '*[^a-zA-Z0-9_.:@-]*'");
    if (column.holds == Holds::portInterface)
        sql += refusal("interface-bad-name", place + " accepts letters, digits and _ . : @ -",
                       "NEW.switchName IN (" + quotedNames([](const Device &device) {
                           return device.portsAreInterfaces;
                       }) + ") AND NEW." +
                           name + " GLOB '*[^a-zA-Z0-9_.:@-]*'");
    if (column.holds == Holds::portList)
        sql += listRefusal(name);
    return sql;
}

std::string guardRefusals(const std::string &table, std::span<const Guard> guards,
                          const Device *device = nullptr)
{
    std::string sql;
    for (const Guard &guard : guards)
        if (guard.table == table)
            sql += refusal(guard.rule, ruleById(guard.rule)->fault,
                           guard.made != nullptr ? guard.made() : guard.condition, device);
    return sql;
}

std::string refusalsOf(const std::string &table)
{
    std::string sql;
    for (const Column &column : columnsOf(table))
        sql += columnRefusals(column);
    sql += guardRefusals(table, generalGuards);
    for (const Device *device : devices())
        sql += guardRefusals(table, device->guards(), device);
    return sql;
}

// The rules for any row first, then those for switches, ports and VLANs.
std::vector<Rule> allRules()
{
    std::vector<Rule> all;
    for (const std::string_view table : {"", switchTableName, portTableName, vlanTableName}) {
        const auto add = [&](std::span<const Rule> rules) {
            for (const Rule &rule : rules)
                if (table == (rule.table != nullptr ? rule.table : ""))
                    all.push_back(rule);
        };
        add(general);
        for (const Device *device : devices())
            add(device->rules());
    }
    return all;
}

constexpr const char *head =
    "-- Triggers that refuse rows in which 'swctl check' would find an error, for rules that\n"
    "-- SQL can express: a guard against writers that do not check. Optional; each message\n"
    "-- begins with the rule, which 'swctl check --explain RULE' explains.\n"
    "--\n"
    "-- Only the row being written is checked. Run 'swctl check' to find rows that break when\n"
    "-- a port or a switch is deleted or renamed.\n"
    "--\n"
    "-- Generated by 'swctl check --triggers'. Remove with DROP TRIGGER.\n";

} // namespace

const char *severityName(Severity severity)
{
    return severity == Severity::error ? "error" : "warning";
}

const std::vector<Rule> &checkRules()
{
    static const std::vector<Rule> rules = allRules();
    return rules;
}

const Rule *ruleById(std::string_view id)
{
    for (const Rule &rule : checkRules())
        if (rule.id == id)
            return &rule;
    return nullptr;
}

std::string constraintTriggers()
{
    std::string sql = head;
    sql += "BEGIN;\n";
    for (const Table &each : configurationTables()) {
        const std::string table = each.name;
        const std::string refusals = refusalsOf(table);
        for (const std::string event : {"INSERT", "UPDATE"}) {
            const std::string name = table + (event == "INSERT" ? "_inserted" : "_updated");
            sql.append("\nDROP TRIGGER IF EXISTS ").append(name).append(";\nCREATE TRIGGER ");
            sql.append(name).append(" AFTER ").append(event).append(" ON ").append(table);
            sql.append("\nBEGIN\n").append(refusals).append("END;\n");
        }
    }
    return sql + "\nCOMMIT;\n";
}

} // namespace swctl
