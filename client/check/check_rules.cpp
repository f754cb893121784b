// The rules that hold for every device, and what SQL can say of rules and columns. Adding
// one: a row here, its condition among the guards where SQL can express it, and the place
// in check.cpp that finds it. Those of one device are in its own folder.
#include "client/check/check_rules.h"

#include "client/gateway/devices.h"
#include "client/rows/columns.h"

#include <algorithm>
#include <functional>

namespace swctl {
namespace {

constexpr auto error = Severity::error;
constexpr auto warning = Severity::warning;

// In the order in which findings are shown: what stops a start, then the tables
// from the switches to the VLANs.
constexpr Rule general[] = {
    {nullptr, "start-stops", error, "a start of the service stops at this row",
     "The service does not go on after a row that it cannot apply, so all later rows and tables "
     "are missing in the switches.",
     "Correct the row by the reason shown, or delete it, then restart the service."},
    {nullptr, "table-missing", error, "a table is not there",
     "The service reads the tables one after the other and stops at the first that is missing.",
     "Create it with schema.sql, which leaves existing tables alone."},
    {nullptr, "column-missing", error, "a column is not there",
     "The service finds columns by their exact names, and one that is missing counts as 0 or "
     "empty in every row.",
     "Add it with ALTER TABLE as schema.sql declares it; upper and lower case matter."},
    {nullptr, "text-too-long", error, "a text is longer than its field",
     "The service refuses a row whose text does not fit, and a start ends there.",
     "Shorten the text."},
    {nullptr, "interface-bad-name", error, "an interface name has a character that none may have",
     "The names of a VLAN's interface and of a bridge's port become part of command lines; one "
     "with any other character than letters, digits and _ . : @ - reaches none, and a start ends "
     "at its row.",
     "Give the name of the interface as 'ip link' shows it."},
    {nullptr, "number-text", warning, "a number is not written as one",
     "The service reads the digits at the start, takes 0 where there are none, and clamps what "
     "does not fit 32 bits to the nearest number that does.",
     "Write the number that is meant, with decimal digits alone."},
    {nullptr, "value-range", error, "a number is outside its range",
     "A value that switches do not know is refused or ignored, so what is in force is not what "
     "the row says; a PVID beyond 4094 even stops every VLAN of the chip.",
     "Give a value of the range shown."},
    {switchTableName, "switch-unknown-name", error, "no backend drives a switch of this name",
     "The name selects the backend, so a switch with another name cannot be set up, and a start "
     "ends there.",
     "Name the switch BCM (the chip), PSE (the engine) or BRIDGE (of Linux), in capitals."},
    {switchTableName, "switch-duplicate", error, "two rows describe one switch",
     "The service refuses the second row, and a start ends there.", "Delete one of the rows."},
    {switchTableName, "same-level", warning, "two switches are on one level",
     "The first row of the highest level is the top of the hierarchy, so the order of rows "
     "decides which switch gets requests for VLANs and bandwidth.",
     "Give the engine a higher level than the chip."},
    {portTableName, "port-without-switch", error, "the switch of a port is not there",
     "The service cannot make a port of an unknown switch, and a start ends there.",
     "Correct switchName, or add the switch."},
    {portTableName, "port-duplicate", error, "two rows describe one port",
     "The service refuses the second row, and a start ends there.", "Delete one of the rows."},
    {portTableName, "port-number-range", error, "the switch does not have this port",
     "The chip has the ports 0 to 4 and refuses any other, after which no VLAN can be added or "
     "changed; the engine has 0 to 7 and its tools refuse any other.",
     "Correct the number, or delete the row."},
    {portTableName, "port-beyond-count", warning,
     "the port lies beyond the switch's number of ports",
     "numPorts and the rows of the ports contradict each other; the service uses the rows.",
     "Correct numPorts, or delete the row of the port."},
    {portTableName, "mapping-own-switch", error, "a port is mapped onto its own switch",
     "Commands would go round for ever, so the service refuses the row, and a start ends there.",
     "Map the port onto a port of the switch below."},
    {portTableName, "mapping-nowhere", error, "a port is mapped onto a port that no row describes",
     "The service refuses a row that leads nowhere, and a start ends there.",
     "Write SWITCH:PORT with commas between, and add the rows of those ports first."},
    {portTableName, "mapping-later-row", error, "a port is mapped onto a port of a later row",
     "Rows are applied in the table's order and the lower port is not there yet, so a start ends "
     "at this row.",
     "Delete the row of the upper port and add it again, so that it comes last."},
    {portTableName, "mapping-level", warning,
     "a port is mapped onto a switch that is not below its own",
     "Commands go down along the mappings, while the levels say which switch is the top.",
     "Give the upper switch the higher level."},
    {vlanTableName, "vlan-id-range", error, "a VLAN id is outside 1 to 4094",
     "Ids reach the chip as 16 bits, so another id is refused, or overwrites the VLAN that has "
     "the same lower bits.",
     "Give an id from 1 to 4094."},
    {vlanTableName, "vlan-duplicate", error, "two rows describe one VLAN",
     "The service refuses the second row, and a start ends there.", "Delete one of the rows."},
    {vlanTableName, "interface-missing", error, "a VLAN has no interface",
     "There is nothing to make the sub-interface on, and the engine cannot look up the hardware "
     "address that it needs.",
     "Name the interface that carries it: 'swctl vlan set ID --interface NAME'."},
    {vlanTableName, "interface-name-long", error,
     "the name of the sub-interface is longer than 15 characters",
     "Linux accepts no longer names, so the sub-interface is not made; the service goes on "
     "without it.",
     "Use an interface with a shorter name."},
    {vlanTableName, "interface-unknown", error, "the interface of a VLAN does not exist",
     "The sub-interface cannot be made, and where the engine carries the VLAN the service stops "
     "for want of a hardware address.",
     "Correct the name, or create the interface first."},
    {vlanTableName, "list-text", error, "an entry of a port list is no plain number",
     "The service reads the digits at the start of an entry and takes port 0 where there are "
     "none: 1-3 means port 1, x means port 0.",
     "Write plain numbers with commas between, such as 1,2,3."},
    {vlanTableName, "port-missing", error, "a port list names a port that the chip does not have",
     "The chip has the ports 0 to 4: it refuses a VLAN with one from 5 to 15, and a higher one "
     "is cut off on the way.",
     "Take the port out of the list."},
    {vlanTableName, "untag-without-membership", error,
     "a port sends a VLAN untagged that it is no member of",
     "Untagged frames from that port would get a VLAN that the port is not in, and are lost.",
     "Add the port to fwdMap, or take it out of untagMap."},
    {vlanTableName, "untag-twice", error, "a port sends two VLANs untagged",
     "Untagged frames from that port belong to the last of these VLANs; the others can be left "
     "by that port but not entered.",
     "Leave the port untagged in one VLAN."},
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

// The entries of NEW.phyDevice that name a port of the rows, by their length.
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

// What a $word of a guard of that device stands for.
std::string wordMeant(std::string_view word, const Device &device)
{
    if (word == "self")
        return quotedName(device);
    return quotedNames(
        [&](const Device &other) { return other.takesLists && other.name != device.name; });
}

// A condition with #, @ and $ written out.
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

// One statement of a trigger: refuses where the condition holds.
std::string refusal(const std::string &rule, const std::string &fault, const std::string &condition,
                    const Device *device = nullptr)
{
    return "    SELECT RAISE(ABORT, '" + rule + ": " + fault + "')\n    WHERE " +
           expanded(condition, device) + ";\n";
}

std::string listRefusal(const std::string &column)
{
    const std::string list = "@" + column;
    return refusal("list-text", column + " holds numbers with commas between",
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
        return refusal("value-range", place + " takes " + column.values(),
                       "#" + name + " NOT BETWEEN " + std::to_string(column.least) + " AND " +
                           std::to_string(column.most));
    }
    const std::string most = std::to_string(column.most);
    std::string sql = refusal("text-too-long", place + " holds at most " + most + " bytes",
                              "length(CAST(NEW." + name + " AS BLOB)) > " + most);
    if (column.holds == Holds::interface)
        sql += refusal("interface-bad-name", place + " takes letters, digits and _ . : @ -",
                       "NEW." + name + " GLOB '*[^a-zA-Z0-9_.:@-]*'");
    if (column.holds == Holds::portInterface)
        sql += refusal("interface-bad-name", place + " takes letters, digits and _ . : @ -",
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

// What is about any row first, then from the switches to the VLANs.
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
    "-- Triggers that refuse what 'swctl check' calls an error in a row, as far as SQL\n"
    "-- can tell: a guard against writers that do not check. Optional; each message\n"
    "-- begins with the rule, which 'swctl check --explain RULE' explains.\n"
    "--\n"
    "-- Only the row that is written is looked at. What other rows lose when a port or\n"
    "-- a switch is deleted or renamed is found by 'swctl check'.\n"
    "--\n"
    "-- Made by 'swctl check --triggers'. Taken out again by DROP TRIGGER.\n";

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
