#include "client/check/check.h"

#include "client/base/number.h"
#include "client/base/text.h"
#include "client/check/check_rules.h"
#include "client/devices/devices.h"
#include "client/rehearse/rehearsal.h"
#include "client/rows/check_rows.h"
#include "client/rows/columns.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <utility>

namespace swctl {
namespace {

constexpr uint32_t chipMask = (1u << chipPortCount) - 1;
constexpr size_t longestInterfaceName = 15;

// What a mapping onto a port of the chip begins with.
std::string chipPrefix()
{
    return std::string(deviceOf(Backend::chip).name) + ":";
}

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
    void checkVlanMode();
    void checkPorts();
    void checkPortNumber(size_t row);
    void checkMappings();
    void checkMapping(size_t row, const std::string &entry,
                      const std::map<std::string, size_t> &rowOfPort);
    void checkVlans();
    void checkInterface(size_t row);
    void checkList(size_t row, const char *column, const PortList &list, uint32_t chipRows);
    void checkBridgePort(size_t row);
    void checkBridgeList(size_t row);
    [[nodiscard]] bool isBridge(const std::string &interface) const; // that the service makes
    void checkUntagged(size_t row, std::array<const VlanRow *, chipPortCount> &untaggedIn);
    void checkShift(size_t row, uint32_t reached);

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
        addTable("table-missing", table.name, "", "there is no such table", Severity::error);
        return;
    }
    for (const Column &column : columnsOf(table.name)) {
        if (!table.columns.contains(column.name))
            addTable("column-missing", table.name, column.name,
                     std::string("there is no column ") + column.name + "; it counts as " +
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
    // Of ports only those of a bridge reach a command line by their name.
    const bool reachesLine =
        column.holds == Holds::interface ||
        (column.holds == Holds::portInterface && isDevice(row.text("switchName"), Backend::bridge));
    if (reachesLine && text.find_first_not_of(allowed) != std::string::npos)
        add("interface-bad-name", table, row, column.name,
            "'" + printable(text) + "' is no interface name", Severity::error);
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
            std::string(column.name) + " is " + std::to_string(value) + "; it takes " +
                column.values(),
            refused ? Severity::error : Severity::warning);
}

// --- a start, as it was rehearsed ------------------------------------------

// The first message that is a reason.
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
        std::string message = "a start stops here and leaves out all rows after it";
        const std::string reason = reasonOf(*stop);
        if (!reason.empty())
            message += "; the service says: " + printable(reason);
        add("start-stops", *table, row, "", std::move(message));
        return;
    }
    addTable("start-stops", switchTableName, "",
             all.switches.empty() ? "there is no switch; a start has nothing to apply"
                                  : "a start takes every row and then fails to apply them",
             Severity::error);
}

// --- switches --------------------------------------------------------------

void Checker::checkSwitches()
{
    for (size_t i = 0; i < all.switches.size(); ++i) {
        const SwitchRow &sw = all.switches[i];
        const Device *device = deviceOf(sw.name);
        if (device == nullptr)
            add("switch-unknown-name", all.switchTable, i, "",
                "no backend drives a switch named '" + printable(sw.name) + "'");
        if (device != nullptr && device->hasNode &&
            all.switchTable.rows[i].text("switchDevice").empty())
            add("switch-device-missing", all.switchTable, i, "", "its row names no device node");
        if (isDevice(sw.name, Backend::bridge) && !context.bridgesFilter.value_or(true))
            add("bridge-kernel", all.switchTable, i, "",
                "the kernel of this machine has no VLAN filtering in bridges");
        for (size_t j = 0; j < i; ++j) {
            if (all.switches[j].name == sw.name)
                add("switch-duplicate", all.switchTable, i, "",
                    "an earlier row describes the switch as well");
            else if (all.switches[j].level == sw.level)
                add("same-level", all.switchTable, i, all.switches[j].name,
                    "level " + std::to_string(sw.level) + " is that of switch " +
                        printable(all.switches[j].name) + " too");
        }
    }
    checkVlanMode();
}

// The end of a start applies the top switch, which hands its VLAN mode down.
void Checker::checkVlanMode()
{
    const SwitchRow *top = nullptr;
    for (const SwitchRow &sw : all.switches)
        if (top == nullptr || sw.level > top->level)
            top = &sw;
    if (top == nullptr || !isDevice(top->name, Backend::engine))
        return;
    const bool handsDown = std::any_of(all.ports.begin(), all.ports.end(), [](const PortRow &port) {
        return isDevice(port.owner, Backend::engine) &&
               std::any_of(port.mapping.begin(), port.mapping.end(),
                           [](const auto &entry) { return entry.starts_with(chipPrefix()); });
    });
    for (size_t i = 0; i < all.switches.size() && handsDown; ++i)
        if (isDevice(all.switches[i].name, Backend::chip) &&
            all.switches[i].vlanEnable != top->vlanEnable)
            add("vlan-mode-differs", all.switchTable, i, "",
                "vlanEnable is " + std::to_string(all.switches[i].vlanEnable) +
                    "; the chip ends up with " + std::to_string(top->vlanEnable) + " of switch " +
                    top->name);
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
            add("port-duplicate", all.portTable, i, "",
                "an earlier row describes the port as well");
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
    if (port.number < 0 || port.number >= device->ports)
        add("port-number-range", all.portTable, row, "",
            std::string(device->words) + " has the ports 0 to " +
                std::to_string(device->ports - 1) + device->beyondPorts);
    if (device->portsAreInterfaces) {
        checkBridgePort(row);
        return;
    }
    if (port.number < 0 || port.number >= device->ports)
        return;
    for (size_t i = 0; i < all.switches.size(); ++i) {
        const int32_t stated = numberOf(all.switchTable.rows[i], "numPorts");
        if (all.switches[i].name == port.owner && stated > 0 &&
            port.number >= stated + device->firstPort)
            add("port-beyond-count", all.portTable, row, "",
                "the switch's row says that it has " + std::to_string(stated) + " ports");
    }
}

// A port of a bridge is an interface, which joins it.
void Checker::checkBridgePort(size_t row)
{
    const std::string name = all.portTable.rows[row].text("interfaceName");
    if (name.empty() || name.size() > longestInterfaceName || name.front() == '-') {
        add("bridge-port-interface", all.portTable, row, "",
            "'" + printable(name) + "' is no interface that could join the bridge");
        return;
    }
    for (size_t i = 0; i < row; ++i)
        if (isDevice(all.ports[i].owner, Backend::bridge) &&
            all.portTable.rows[i].text("interfaceName") == name)
            add("bridge-port-interface", all.portTable, row, "",
                printable(name) + " is the interface of an earlier row too");
    if (context.interfaces && !context.interfaces->contains(name))
        add("bridge-port-interface", all.portTable, row, name,
            "there is no interface " + printable(name) + " here");
}

// Of a VLAN's ports each is a row of the bridge.
void Checker::checkBridgeList(size_t row)
{
    uint32_t rows = 0;
    for (const PortRow &port : all.ports)
        if (isDevice(port.owner, Backend::bridge) && port.number >= 0 &&
            port.number < deviceOf(Backend::bridge).ports)
            rows |= 1u << port.number;
    const VlanRow &vlan = all.vlans[row];
    for (int port = 0; port < portListBits; ++port) {
        const std::string number = std::to_string(port);
        if ((vlan.members.mask & ~rows) >> port & 1)
            add("port-missing", all.vlanTable, row, "fwdMap " + number,
                "port " + number +
                    " in fwdMap is none of the bridge; the service refuses the VLAN");
        if ((vlan.untagged.mask & ~vlan.members.mask) >> port & 1)
            add("untag-without-membership", all.vlanTable, row, number,
                "port " + number + " is in untagMap and not in fwdMap");
        for (size_t i = 0; i < row; ++i)
            if ((all.vlans[i].untagged.mask & vlan.untagged.mask) >> port & 1)
                add("untag-twice", all.vlanTable, row, number,
                    "port " + number + " is untagged in VLAN " + std::to_string(all.vlans[i].id) +
                        " too");
    }
}

void Checker::checkMappings()
{
    std::map<std::string, size_t> rowOfPort; // of "BCM:3", the first
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
        add("mapping-own-switch", all.portTable, row, entry, start + ", which is its own switch");
    else if (lower == rowOfPort.end())
        add("mapping-nowhere", all.portTable, row, entry,
            start + (rowOfPort.contains(entryAsRead(entry))
                         ? ", which is not written as SWITCH:PORT"
                         : "; no row describes such a port"));
    else if (lower->second > row)
        add("mapping-later-row", all.portTable, row, entry,
            start + ", whose row comes after this one");
    else
        for (const SwitchRow &above : all.switches)
            for (const SwitchRow &below : all.switches)
                if (above.name == port.owner && below.name == all.ports[lower->second].owner &&
                    below.level > above.level)
                    add("mapping-level", all.portTable, row, entry,
                        start + "; switch " + printable(below.name) + " is on the higher level " +
                            std::to_string(below.level));
}

// --- VLANs -----------------------------------------------------------------

void Checker::checkVlans()
{
    uint32_t chipRows = 0; // chip ports that have a row
    uint32_t reached = 0;  // chip ports that the engine's ports are mapped onto
    for (const PortRow &port : all.ports) {
        if (isDevice(port.owner, Backend::chip) && port.number >= 0 && port.number < chipPortCount)
            chipRows |= 1u << port.number;
        for (const std::string &entry : port.mapping)
            for (int chip = 0; chip < chipPortCount && isDevice(port.owner, Backend::engine);
                 ++chip)
                if (entryAsRead(entry) == chipPrefix() + std::to_string(chip))
                    reached |= 1u << chip;
    }
    const bool hasChip = all.hasSwitch(deviceOf(Backend::chip).name);
    const bool hasBridge = all.hasSwitch(deviceOf(Backend::bridge).name);
    if (!hasChip)
        chipRows = chipMask; // that there is no chip is said of the switches
    std::set<int32_t> seen;
    std::array<const VlanRow *, chipPortCount> untaggedIn{};
    for (size_t i = 0; i < all.vlans.size(); ++i) {
        const VlanRow &vlan = all.vlans[i];
        if (vlan.id < 1 || vlan.id > highestVlan)
            add("vlan-id-range", all.vlanTable, i, "",
                "the id is outside 1 to 4094; it reaches the chip as " +
                    std::to_string(static_cast<uint16_t>(vlan.id)));
        if (!seen.insert(vlan.id).second)
            add("vlan-duplicate", all.vlanTable, i, "",
                "an earlier row describes the VLAN as well");
        checkInterface(i);
        if (hasBridge)
            checkBridgeList(i);
        if (!hasChip && hasBridge)
            continue;
        checkList(i, "fwdMap", vlan.members, chipRows);
        checkList(i, "untagMap", vlan.untagged, chipRows);
        checkUntagged(i, untaggedIn);
        checkShift(i, reached);
    }
}

void Checker::checkInterface(size_t row)
{
    const VlanRow &vlan = all.vlans[row];
    const std::string &name = vlan.interfaceName;
    if (name.empty()) {
        add("interface-missing", all.vlanTable, all.vlanTable.rows[row], "",
            "it has no interface; a sub-interface cannot be made",
            vlan.inSwitchOnly ? Severity::warning : Severity::error);
        return;
    }
    const std::string sub = name + "." + std::to_string(vlan.id);
    if (sub.size() > subInterfaceName)
        add("interface-name-long", all.vlanTable, row, "",
            "the sub-interface " + printable(sub) + " would have " + std::to_string(sub.size()) +
                " characters; Linux takes 15");
    if (context.interfaces && !context.interfaces->contains(name) && !isBridge(name))
        add("interface-unknown", all.vlanTable, row, name,
            "there is no interface " + printable(name) + " here");
}

bool Checker::isBridge(const std::string &interface) const
{
    for (size_t i = 0; i < all.switches.size(); ++i)
        if (isDevice(all.switches[i].name, Backend::bridge) &&
            all.switchTable.rows[i].text("switchDevice") == interface)
            return true;
    return false;
}

void Checker::checkList(size_t row, const char *column, const PortList &list, uint32_t chipRows)
{
    uint32_t withoutRow = list.mask & chipMask & ~chipRows;
    for (const ListEntry &entry : list.entries) {
        const std::string number = std::to_string(entry.number);
        const std::string subject = std::string(column) + " " + entry.text;
        if (!entry.plain)
            add("list-text", all.vlanTable, row, subject,
                "'" + printable(entry.text) + "' in " + column + " is read as port " + number);
        if (entry.number >= 0 && entry.number < chipPortCount)
            continue;
        const char *fate = "; it is left out";
        if (entry.number >= chipPortCount && entry.number < 16)
            fate = "; the chip refuses the VLAN";
        add("port-missing", all.vlanTable, row, subject,
            "port " + number + " in " + column + " is none of the chip" + fate);
    }
    for (int port = 0; port < chipPortCount; ++port)
        if ((withoutRow >> port & 1) != 0)
            add("port-without-row", all.vlanTable, row,
                std::string(column) + " " + std::to_string(port),
                "port " + std::to_string(port) + " in " + column + " has no row");
}

void Checker::checkUntagged(size_t row, std::array<const VlanRow *, chipPortCount> &untaggedIn)
{
    const VlanRow &vlan = all.vlans[row];
    uint32_t members = vlan.members.mask;
    // The chip adds the port towards the processor to a VLAN that has members.
    if (members != 0)
        members |= chipHostPorts(vlan.interfaceName, vlan.inSwitchOnly);
    for (int port = 0; port < chipPortCount; ++port) {
        if ((vlan.untagged.mask >> port & 1) == 0)
            continue;
        const std::string number = std::to_string(port);
        if ((members >> port & 1) == 0)
            add("untag-without-membership", all.vlanTable, row, number,
                "port " + number + " is in untagMap and not in fwdMap");
        const VlanRow *earlier = std::exchange(untaggedIn[static_cast<size_t>(port)], &vlan);
        if (earlier != nullptr)
            add("untag-twice", all.vlanTable, row, number,
                "port " + number + " is untagged in VLAN " + std::to_string(earlier->id) + " too");
    }
}

// The engine's port above chip port n carries a VLAN when the list has n - 1.
void Checker::checkShift(size_t row, uint32_t reached)
{
    const uint32_t members = all.vlans[row].members.mask;
    const uint32_t byChip = members & reached;
    const uint32_t byEngine = members << 1 & reached;
    if (byChip == byEngine)
        return;
    add("shifted-ports", all.vlanTable, row, "",
        "of the chip ports below the engine, the chip carries it at " + portListText(byChip) +
            ", the engine above " + portListText(byEngine));
}

std::vector<Finding> Checker::run()
{
    checkStart();
    for (const TableRows *table : {&all.switchTable, &all.portTable, &all.vlanTable})
        checkTable(*table);
    checkSwitches();
    checkPorts();
    checkVlans();
    std::stable_sort(found.begin(), found.end(), [](const Finding &a, const Finding &b) {
        return std::pair(b.severity, a.rule) < std::pair(a.severity, b.rule);
    });
    return std::move(found);
}

// Where in the load a start stops: tables in the order in which they are read.
std::pair<size_t, int64_t> placeOf(const Finding &finding)
{
    size_t table = 0;
    for (const char *name : {switchTableName, portTableName, vlanTableName}) {
        if (finding.table == name)
            break;
        ++table;
    }
    // What fails once every row was read comes last.
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
    // A row may have been written anew, or have got another name.
    return rule == other.rule && table == other.table && subject == other.subject &&
           (rowId == other.rowId || name == other.name);
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
