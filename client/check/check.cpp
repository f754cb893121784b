#include "client/check/check.h"

#include "client/base/number.h"
#include "client/base/text.h"
#include "client/check/check_rules.h"
#include "client/gateway/devices.h"
#include "client/rehearse/rehearsal.h"
#include "client/rows/check_rows.h"
#include "client/rows/columns.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <utility>

namespace swctl {
namespace {

class Checker {
public:
    Checker(const Configuration &configuration, const CheckContext &given)
        : all(configuration), context(given)
    {
    }

    std::vector<Finding> run();

private:
    void add(const char *rule, const TableRows &table, const Row &row, std::string subject,
             std::string message, Severity severity);
    void add(const char *rule, const TableRows &table, size_t row, std::string subject,
             std::string message);
    void addTable(const char *rule, const char *table, std::string subject, std::string message,
                  Severity severity);

    void checkStart();
    void checkTable(const TableRows &table);
    void checkValue(const TableRows &table, const Row &row, const Column &column);
    void checkText(const TableRows &table, const Row &row, const Column &column,
                   const std::string &text);
    void checkNumber(const TableRows &table, const Row &row, const Column &column,
                     const std::string &text);
    void checkSwitches();
    void checkPorts();
    void checkPortNumber(size_t row);
    void checkMappings();
    void checkMapping(size_t row, const std::string &entry,
                      const std::map<std::string, size_t> &rowOfPort);
    void checkVlans();
    void checkInterface(size_t row);
    [[nodiscard]] bool isMade(const std::string &interface) const; // a start creates it
    void checkDevices();

    const Configuration &all;
    const CheckContext &context;
    std::vector<Finding> found;
};

void Checker::add(const char *rule, const TableRows &table, const Row &row, std::string subject,
                  std::string message, Severity severity)
{
    found.push_back({ruleById(rule), severity, table.name, row.rowId, nameOf(table.name, row),
                     std::move(subject), std::move(message)});
}

void Checker::add(const char *rule, const TableRows &table, size_t row, std::string subject,
                  std::string message)
{
    add(rule, table, table.rows[row], std::move(subject), std::move(message),
        ruleById(rule)->severity);
}

void Checker::addTable(const char *rule, const char *table, std::string subject,
                       std::string message, Severity severity)
{
    found.push_back({ruleById(rule), severity, table, 0, std::string("table ") + table,
                     std::move(subject), std::move(message)});
}

// --- tables and values -----------------------------------------------------

void Checker::checkTable(const TableRows &table)
{
    if (table.columns.empty()) {
        addTable("table-missing", table.name, "", "the table does not exist", Severity::error);
        return;
    }
    for (const Column &column : columnsOf(table.name)) {
        if (!table.columns.contains(column.name))
            addTable("column-missing", table.name, column.name,
                     std::string("column ") + column.name + " does not exist; it counts as " +
                         (column.isNumber() ? "0" : "empty") + " in every row",
                     column.needed ? Severity::error : Severity::warning);
        for (const Row &row : table.rows)
            checkValue(table, row, column);
    }
}

void Checker::checkValue(const TableRows &table, const Row &row, const Column &column)
{
    const std::string *text = row.find(column.name);
    if (text == nullptr)
        return;
    if (column.isNumber())
        checkNumber(table, row, column, *text);
    else
        checkText(table, row, column, *text);
}

void Checker::checkText(const TableRows &table, const Row &row, const Column &column,
                        const std::string &text)
{
    if (text.size() > static_cast<size_t>(column.most))
        add("text-too-long", table, row, column.name,
            std::string(column.name) + " has " + std::to_string(text.size()) + " bytes; at most " +
                std::to_string(column.most) + " fit",
            Severity::error);
    constexpr const char *allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                    "0123456789_.:@-";
    // The interface name of a port reaches a command line only if the port is that interface.
    const Device *owner =
        column.holds == Holds::portInterface ? deviceOf(row.text("switchName")) : nullptr;
    const bool reachesLine =
        column.holds == Holds::interface || (owner != nullptr && owner->portsAreInterfaces);
    if (reachesLine && text.find_first_not_of(allowed) != std::string::npos)
        add("interface-bad-name", table, row, column.name,
            "'" + printable(text) + "' is not a valid interface name", Severity::error);
}

void Checker::checkNumber(const TableRows &table, const Row &row, const Column &column,
                          const std::string &text)
{
    char *end = nullptr;
    errno = 0;
    const long long whole = strtoll(text.c_str(), &end, 10);
    const int32_t value = toInt(text);
    if (end == text.c_str() || *end != '\0' || errno != 0 || whole != value)
        add("number-text", table, row, column.name,
            std::string(column.name) + " '" + printable(text) + "' is read as " +
                std::to_string(value),
            Severity::warning);
    const bool refused = column.outside == Outside::refused;
    if ((refused || column.outside == Outside::misleading) && !column.accepts(value))
        add("value-range", table, row, column.name,
            std::string(column.name) + " is " + std::to_string(value) + "; valid values are " +
                column.values(),
            refused ? Severity::error : Severity::warning);
}

// --- the rehearsed start ---------------------------------------------------

// The first line that states a reason.
std::string reasonOf(const StoppedAt &stop)
{
    for (const std::string &line : stop.reasons)
        if (!isNoReason(line))
            return line;
    return {};
}

void Checker::checkStart()
{
    if (context.start == nullptr || context.start->loadStatus() >= 0)
        return;
    const std::optional<StoppedAt> stop = context.start->stoppedAt();
    for (const TableRows *table : {&all.switchTable, &all.portTable, &all.vlanTable}) {
        if (!stop || stop->table != table->name ||
            static_cast<size_t>(stop->row) >= table->rows.size())
            continue;
        const auto row = static_cast<size_t>(stop->row);
        std::string message = "a start stops here and skips all later rows";
        const std::string reason = reasonOf(*stop);
        if (!reason.empty())
            message += "; the service reports: " + printable(reason);
        add("start-stops", *table, row, "", std::move(message));
        return;
    }
    addTable("start-stops", switchTableName, "",
             all.switches.empty() ? "there is no switch, so a start has nothing to apply"
                                  : "a start reads every row and then fails to apply them",
             Severity::error);
}

// --- switches --------------------------------------------------------------

void Checker::checkSwitches()
{
    for (size_t i = 0; i < all.switches.size(); ++i) {
        const SwitchRow &sw = all.switches[i];
        if (deviceOf(sw.name) == nullptr)
            add("switch-unknown-name", all.switchTable, i, "",
                "no backend drives a switch named '" + printable(sw.name) + "'");
        for (size_t j = 0; j < i; ++j) {
            if (all.switches[j].name == sw.name)
                add("switch-duplicate", all.switchTable, i, "",
                    "an earlier row describes the same switch");
            else if (all.switches[j].level == sw.level)
                add("same-level", all.switchTable, i, all.switches[j].name,
                    "switch " + printable(all.switches[j].name) + " is also on level " +
                        std::to_string(sw.level));
        }
    }
}

// --- ports -----------------------------------------------------------------

void Checker::checkPorts()
{
    std::set<std::pair<std::string, int32_t>> seen;
    for (size_t i = 0; i < all.ports.size(); ++i) {
        const PortRow &port = all.ports[i];
        if (!all.hasSwitch(port.owner))
            add("port-without-switch", all.portTable, i, "",
                "there is no switch named '" + printable(port.owner) + "'");
        if (!seen.emplace(port.owner, port.number).second)
            add("port-duplicate", all.portTable, i, "", "an earlier row describes the same port");
        checkPortNumber(i);
    }
    checkMappings();
}

void Checker::checkPortNumber(size_t row)
{
    const PortRow &port = all.ports[row];
    const Device *device = deviceOf(port.owner);
    if (device == nullptr)
        return;
    if (port.number < 0 || port.number >= device->portCount)
        add("port-number-range", all.portTable, row, "",
            std::string(device->words) + " has the ports 0 to " +
                std::to_string(device->portCount - 1) + device->beyondPorts);
    if (port.number < 0 || port.number >= device->portCount || device->portsAreInterfaces)
        return;
    for (size_t i = 0; i < all.switches.size(); ++i) {
        const int32_t stated = numberOf(all.switchTable.rows[i], "numPorts");
        if (all.switches[i].name == port.owner && stated > 0 &&
            port.number >= stated + device->firstPort)
            add("port-beyond-count", all.portTable, row, "",
                "numPorts of the switch's row is " + std::to_string(stated));
    }
}

void Checker::checkMappings()
{
    std::map<std::string, size_t> rowOfPort; // first row of e.g. "BCM:3"
    for (size_t i = 0; i < all.ports.size(); ++i)
        rowOfPort.emplace(all.ports[i].owner + ":" + std::to_string(all.ports[i].number), i);
    for (size_t i = 0; i < all.ports.size(); ++i) {
        for (const std::string &entry : all.ports[i].mapping)
            checkMapping(i, entry, rowOfPort);
        const std::string text = "," + all.portTable.rows[i].text("phyDevice") + ",";
        if (text.size() > 2 && text.find(",,") != std::string::npos)
            add("mapping-nowhere", all.portTable, i, "", "its mapping has an empty entry");
    }
}

void Checker::checkMapping(size_t row, const std::string &entry,
                           const std::map<std::string, size_t> &rowOfPort)
{
    const PortRow &port = all.ports[row];
    const auto lower = rowOfPort.find(entry);
    const std::string start = "it is mapped onto " + printable(entry);
    if (entry.starts_with(port.owner + ":"))
        add("mapping-own-switch", all.portTable, row, entry, start + ", a port of its own switch");
    else if (lower == rowOfPort.end())
        add("mapping-nowhere", all.portTable, row, entry,
            start + (rowOfPort.contains(entryAsRead(entry))
                         ? ", which is not written as SWITCH:PORT"
                         : ", which no row describes"));
    else if (lower->second > row)
        add("mapping-later-row", all.portTable, row, entry,
            start + ", whose row comes after this one");
    else
        for (const SwitchRow &above : all.switches)
            for (const SwitchRow &below : all.switches)
                if (above.name == port.owner && below.name == all.ports[lower->second].owner &&
                    below.level > above.level)
                    add("mapping-level", all.portTable, row, entry,
                        start + "; switch " + printable(below.name) + " is on a higher level, " +
                            std::to_string(below.level));
}

// --- VLANs -----------------------------------------------------------------

void Checker::checkVlans()
{
    std::set<int32_t> seen;
    for (size_t i = 0; i < all.vlans.size(); ++i) {
        const VlanRow &vlan = all.vlans[i];
        if (vlan.id < lowestVlan || vlan.id > highestVlan)
            add("vlan-id-range", all.vlanTable, i, "",
                "the id is outside 1 to 4094; the chip receives it as " +
                    std::to_string(static_cast<uint16_t>(vlan.id)));
        if (!seen.insert(vlan.id).second)
            add("vlan-duplicate", all.vlanTable, i, "", "an earlier row describes the same VLAN");
        checkInterface(i);
    }
}

void Checker::checkInterface(size_t row)
{
    const VlanRow &vlan = all.vlans[row];
    const std::string &name = vlan.interfaceName;
    if (name.empty()) {
        add("interface-missing", all.vlanTable, all.vlanTable.rows[row], "",
            "it has no interface, so no sub-interface can be created",
            vlan.inSwitchOnly ? Severity::warning : Severity::error);
        return;
    }
    const std::string sub = name + "." + std::to_string(vlan.id);
    if (sub.size() > longestInterfaceName)
        add("interface-name-long", all.vlanTable, row, "",
            "the sub-interface " + printable(sub) + " would have " + std::to_string(sub.size()) +
                " characters; Linux allows 15");
    if (context.where.interfaces && !context.where.interfaces->contains(name) && !isMade(name))
        add("interface-unknown", all.vlanTable, row, name,
            "there is no interface " + printable(name) + " on this machine");
}

bool Checker::isMade(const std::string &interface) const
{
    return std::any_of(
        all.switchTable.rows.begin(), all.switchTable.rows.end(),
        [&](const Row &row) {
            const Device *device = deviceOf(row.text("switchName"));
            return device != nullptr && device->madeInterface(row) == interface;
        });
}

// --- each device's own rules -----------------------------------------------

void Checker::checkDevices()
{
    std::vector<RowFault> faults;
    const auto takesLists = [&](const Device *device) {
        return device->takesLists && all.hasSwitch(device->name);
    };
    bool listed = std::any_of(devices().begin(), devices().end(), takesLists);
    for (const Device *device : devices()) {
        device->check(all, context.where, faults);
        // Without such a switch, the lists are checked as those of the first device.
        if (takesLists(device) || (!listed && device->takesLists)) {
            device->checkLists(all, faults);
            listed = true;
        }
    }
    for (RowFault &fault : faults)
        add(fault.rule, *fault.table, fault.row, std::move(fault.subject),
            std::move(fault.message));
}

std::vector<Finding> Checker::run()
{
    checkStart();
    for (const TableRows *table : {&all.switchTable, &all.portTable, &all.vlanTable})
        checkTable(*table);
    checkSwitches();
    checkPorts();
    checkVlans();
    checkDevices();
    std::stable_sort(found.begin(), found.end(), [](const Finding &a, const Finding &b) {
        return std::pair(b.severity, a.rule) < std::pair(a.severity, b.rule);
    });
    return std::move(found);
}

// Where a start stops: the table, in load order, and the row.
std::pair<size_t, int64_t> placeOf(const Finding &finding)
{
    size_t table = 0;
    for (const char *name : {switchTableName, portTableName, vlanTableName}) {
        if (finding.table == name)
            break;
        ++table;
    }
    // A failure after all rows were read comes last.
    return finding.rowId == 0 ? std::pair{size_t{9}, int64_t{0}} : std::pair{table, finding.rowId};
}

bool isWorseThanAny(const Finding &finding, const std::vector<Finding> &before)
{
    static const Rule *const start = ruleById("start-stops");
    return std::none_of(before.begin(), before.end(), [&](const Finding &known) {
        if (finding.rule == start && known.rule == start)
            return placeOf(known) <= placeOf(finding);
        return known.sameAs(finding) && known.severity >= finding.severity;
    });
}

} // namespace

bool Finding::sameAs(const Finding &other) const
{
    // The row may have been rewritten under a new rowid, or renamed.
    return rule == other.rule && table == other.table && subject == other.subject &&
           (rowId == other.rowId || name == other.name);
}

std::set<std::string> unsupportedHere()
{
    std::set<std::string> names;
    for (const Device *device : devices())
        if (!device->supportedHere().value_or(true))
            names.insert(device->name);
    return names;
}

std::vector<Finding> checkConfiguration(Database &database, const CheckContext &context)
{
    const Configuration configuration = readConfiguration(database);
    return Checker(configuration, context).run();
}

std::vector<Finding> newFindings(const std::vector<Finding> &before,
                                 const std::vector<Finding> &after, Severity least)
{
    std::vector<Finding> added;
    for (const Finding &finding : after)
        if (finding.severity >= least && isWorseThanAny(finding, before))
            added.push_back(finding);
    return added;
}

} // namespace swctl
