// Finds what breaks the rules; see the header. Values are read as the service
// reads them: columns by their exact names, NULL as 0 or empty, numbers by their
// leading digits, lists and mappings by their entries between commas.
#include "swctl/check.h"

#include "swctl/check_rules.h"
#include "swctl/number.h"
#include "swctl/rehearsal.h"
#include "swctl/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <utility>

namespace swctl {
namespace {

constexpr const char *switchTableName = "swGlobalCfg";
constexpr const char *portTableName = "swPortConfig";
constexpr const char *vlanTableName = "vlanEncapIf";
constexpr uint32_t chipMask = (1u << chipPorts) - 1;

struct Table {
    const char *name;
    std::set<std::string> columns; // empty: there is no such table
    std::vector<Row> rows;
};

struct ListEntry {
    std::string text;
    int32_t number = 0; // as the service reads it
    bool plain = false; // written as a number and nothing else
};

struct PortList {
    std::vector<ListEntry> entries;
    uint32_t mask = 0; // bit n for port n, 0 to 31
};

struct Switch {
    std::string name;
    int32_t level;
    int32_t vlanEnable;
};

struct Port {
    std::string owner;
    int32_t number;
    std::vector<std::string> mapping; // entries
};

struct Vlan {
    int32_t id;
    std::string interfaceName;
    bool inSwitchOnly;
    PortList members, untagged;
};

// Everything that the tables say; the rows of each in their own order.
struct Configuration {
    Table switchTable{switchTableName, {}, {}};
    Table portTable{portTableName, {}, {}};
    Table vlanTable{vlanTableName, {}, {}};
    std::vector<Switch> switches;
    std::vector<Port> ports;
    std::vector<Vlan> vlans;

    [[nodiscard]] bool hasSwitch(const std::string &name) const
    {
        return std::any_of(
            switches.begin(), switches.end(), [&](const Switch &sw) { return sw.name == name; });
    }
};

// The parts between commas; a run of commas separates once.
std::vector<std::string> entriesOf(const std::string &text)
{
    std::vector<std::string> entries;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find(',', start), text.size());
        if (end > start)
            entries.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return entries;
}

// Digits alone, without leading zeros.
bool isPlainNumber(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos &&
           (text.size() == 1 || text[0] != '0');
}

// A mapping's entry as the service takes it, which reads more than plain numbers.
std::string entryAsRead(const std::string &entry)
{
    const size_t colon = std::min(entry.find(':'), entry.size() - 1);
    return entry.substr(0, colon) + ":" + std::to_string(toInt(entry.substr(colon + 1)));
}

PortList portListOf(const std::string &text)
{
    PortList list;
    for (std::string &entry : entriesOf(text)) {
        const int32_t number = toInt(entry);
        const size_t blank = entry[0] == ' ' ? 1 : 0; // as in "1, 2"
        const bool plain = isPlainNumber(std::string_view(entry).substr(blank));
        if (number >= 0 && number < 32)
            list.mask |= 1u << number;
        list.entries.push_back({std::move(entry), number, plain});
    }
    return list;
}

std::string portsText(uint32_t mask)
{
    std::string text;
    for (int port = 0; port < 32; ++port)
        if ((mask >> port & 1) != 0)
            text += (text.empty() ? "" : ",") + std::to_string(port);
    return text;
}

int32_t numberOf(const Row &row, const char *column)
{
    const std::string *text = row.find(column);
    return text == nullptr ? 0 : toInt(*text);
}

void readTable(Database &database, Table &table)
{
    Statement columns(database,
                      std::string("SELECT 0, name FROM pragma_table_info('") + table.name + "')");
    while (columns.step())
        table.columns.insert(columns.row().text("name"));
    if (!table.columns.empty())
        table.rows = database.rows(table.name);
}

Configuration read(Database &database)
{
    Configuration all;
    for (Table *table : {&all.switchTable, &all.portTable, &all.vlanTable})
        readTable(database, *table);
    for (const Row &row : all.switchTable.rows)
        all.switches.push_back(
            {row.text("switchName"), numberOf(row, "switchLevel"), numberOf(row, "vlanEnable")});
    for (const Row &row : all.portTable.rows)
        all.ports.push_back({row.text("switchName"), numberOf(row, "portNumber"),
                             entriesOf(row.text("phyDevice"))});
    for (const Row &row : all.vlanTable.rows)
        all.vlans.push_back({numberOf(row, "vlanId"), row.text("interfaceName"),
                             numberOf(row, "inSwitchOnly") != 0, portListOf(row.text("fwdMap")),
                             portListOf(row.text("untagMap"))});
    return all;
}

std::string nameOfPort(const std::string &owner, int32_t number)
{
    return "port " + std::to_string(number) + " of " + printable(owner);
}

// What the row describes, in the words of the network.
std::string nameOf(std::string_view table, const Row &row)
{
    if (table == vlanTableName)
        return "VLAN " + std::to_string(numberOf(row, "vlanId"));
    if (table == portTableName)
        return nameOfPort(row.text("switchName"), numberOf(row, "portNumber"));
    return "switch " + printable(row.text("switchName"));
}

class Checker {
public:
    Checker(const Configuration &configuration, const CheckContext &given)
        : all(configuration), context(given)
    {
    }

    std::vector<Finding> run();

private:
    void add(const char *rule, const Table &table, const Row &row, std::string subject,
             std::string message, Severity severity);
    void add(const char *rule, const Table &table, size_t row, std::string subject,
             std::string message);
    void addTable(const char *rule, const char *table, std::string subject, std::string message,
                  Severity severity);

    void checkStart();
    void checkTable(const Table &table);
    void checkValue(const Table &table, const Row &row, const ColumnRule &column);
    void checkText(const Table &table, const Row &row, const ColumnRule &column,
                   const std::string &text);
    void checkNumber(const Table &table, const Row &row, const ColumnRule &column,
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
    void checkUntagged(size_t row, std::array<const Vlan *, chipPorts> &untaggedIn);
    void checkShift(size_t row, uint32_t reached);

    const Configuration &all;
    const CheckContext &context;
    std::vector<Finding> found;
};

void Checker::add(const char *rule, const Table &table, const Row &row, std::string subject,
                  std::string message, Severity severity)
{
    found.push_back({ruleById(rule), severity, table.name, row.rowId, nameOf(table.name, row),
                     std::move(subject), std::move(message)});
}

void Checker::add(const char *rule, const Table &table, size_t row, std::string subject,
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

void Checker::checkTable(const Table &table)
{
    if (table.columns.empty()) {
        addTable("table-missing", table.name, "", "there is no such table", Severity::error);
        return;
    }
    for (const ColumnRule &column : columnRules()) {
        if (std::string_view(column.table) != table.name)
            continue;
        if (!table.columns.contains(column.column))
            addTable("column-missing", table.name, column.column,
                     std::string("there is no column ") + column.column + "; it counts as " +
                         (column.kind == Kind::number ? "0" : "empty") + " in every row",
                     column.needed ? Severity::error : Severity::warning);
        for (const Row &row : table.rows)
            checkValue(table, row, column);
    }
}

void Checker::checkValue(const Table &table, const Row &row, const ColumnRule &column)
{
    const std::string *text = row.find(column.column);
    if (text == nullptr)
        return;
    if (column.kind == Kind::number)
        checkNumber(table, row, column, *text);
    else
        checkText(table, row, column, *text);
}

void Checker::checkText(const Table &table, const Row &row, const ColumnRule &column,
                        const std::string &text)
{
    if (text.size() > static_cast<size_t>(column.most))
        add("text-too-long", table, row, column.column,
            std::string(column.column) + " has " + std::to_string(text.size()) +
                " bytes; at most " + std::to_string(column.most) + " fit",
            Severity::error);
    constexpr const char *allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                    "0123456789_.:@-";
    if (column.kind == Kind::interface && text.find_first_not_of(allowed) != std::string::npos)
        add("interface-bad-name", table, row, column.column,
            "'" + printable(text) + "' is no interface name", Severity::error);
}

void Checker::checkNumber(const Table &table, const Row &row, const ColumnRule &column,
                          const std::string &text)
{
    char *end = nullptr;
    errno = 0;
    const long long whole = strtoll(text.c_str(), &end, 10);
    const int32_t value = toInt(text);
    if (end == text.c_str() || *end != '\0' || errno != 0 || whole != value)
        add("number-text", table, row, column.column,
            std::string(column.column) + " '" + printable(text) + "' is read as " +
                std::to_string(value),
            Severity::warning);
    if (!column.accepts(value))
        add("value-range", table, row, column.column,
            std::string(column.column) + " is " + std::to_string(value) + "; it takes " +
                column.values,
            column.severity);
}

// --- a start, as it was rehearsed ------------------------------------------

void Checker::checkStart()
{
    if (context.start == nullptr || context.start->loadStatus() >= 0)
        return;
    const std::optional<StoppedAt> stop = context.start->stoppedAt();
    for (const Table *table : {&all.switchTable, &all.portTable, &all.vlanTable}) {
        if (!stop || stop->table != table->name ||
            static_cast<size_t>(stop->row) >= table->rows.size())
            continue;
        const auto row = static_cast<size_t>(stop->row);
        std::string message = "a start stops here and leaves out all rows after it";
        if (!stop->reasons.empty())
            message += "; the service says: " + printable(stop->reasons.front());
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
        const Switch &sw = all.switches[i];
        if (sw.name != "BCM" && sw.name != "PSE")
            add("switch-unknown-name", all.switchTable, i, "",
                "no backend drives a switch named '" + printable(sw.name) + "'");
        if (sw.name == "BCM" && all.switchTable.rows[i].text("switchDevice").empty())
            add("switch-device-missing", all.switchTable, i, "", "its row names no device node");
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
    const Switch *top = nullptr;
    for (const Switch &sw : all.switches)
        if (top == nullptr || sw.level > top->level)
            top = &sw;
    if (top == nullptr || top->name != "PSE")
        return;
    const bool handsDown = std::any_of(all.ports.begin(), all.ports.end(), [](const Port &port) {
        return port.owner == "PSE" &&
               std::any_of(port.mapping.begin(), port.mapping.end(),
                           [](const auto &entry) { return entry.starts_with("BCM:"); });
    });
    for (size_t i = 0; i < all.switches.size() && handsDown; ++i)
        if (all.switches[i].name == "BCM" && all.switches[i].vlanEnable != top->vlanEnable)
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
        const Port &port = all.ports[i];
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
    const Port &port = all.ports[row];
    const bool chip = port.owner == "BCM";
    const int count = chip ? chipPorts : enginePorts;
    if (!chip && port.owner != "PSE")
        return;
    if (port.number < 0 || port.number >= count) {
        add("port-number-range", all.portTable, row, "",
            std::string(chip ? "the chip" : "the engine") + " has the ports 0 to " +
                std::to_string(count - 1) +
                (chip ? "; no VLAN can be added or changed with this row" : ""));
        return;
    }
    // The engine's ports are counted from 1 as often as from 0.
    const int first = chip ? 0 : 1;
    for (size_t i = 0; i < all.switches.size(); ++i) {
        const int32_t stated = numberOf(all.switchTable.rows[i], "numPorts");
        if (all.switches[i].name == port.owner && stated > 0 && port.number >= stated + first)
            add("port-beyond-count", all.portTable, row, "",
                "the switch's row says that it has " + std::to_string(stated) + " ports");
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
    const Port &port = all.ports[row];
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
        for (const Switch &above : all.switches)
            for (const Switch &below : all.switches)
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
    for (const Port &port : all.ports) {
        if (port.owner == "BCM" && port.number >= 0 && port.number < chipPorts)
            chipRows |= 1u << port.number;
        for (int chip = 0; chip < chipPorts && port.owner == "PSE"; ++chip)
            if (std::find(port.mapping.begin(), port.mapping.end(),
                          "BCM:" + std::to_string(chip)) != port.mapping.end())
                reached |= 1u << chip;
    }
    if (!all.hasSwitch("BCM"))
        chipRows = chipMask; // that there is no chip is said of the switches
    std::set<int32_t> seen;
    std::array<const Vlan *, chipPorts> untaggedIn{};
    for (size_t i = 0; i < all.vlans.size(); ++i) {
        const Vlan &vlan = all.vlans[i];
        if (vlan.id < 1 || vlan.id > highestVlan)
            add("vlan-id-range", all.vlanTable, i, "",
                "the id is outside 1 to 4094; it reaches the chip as " +
                    std::to_string(static_cast<uint16_t>(vlan.id)));
        if (!seen.insert(vlan.id).second)
            add("vlan-duplicate", all.vlanTable, i, "",
                "an earlier row describes the VLAN as well");
        checkInterface(i);
        checkList(i, "fwdMap", vlan.members, chipRows);
        checkList(i, "untagMap", vlan.untagged, chipRows);
        checkUntagged(i, untaggedIn);
        checkShift(i, reached);
    }
}

void Checker::checkInterface(size_t row)
{
    const Vlan &vlan = all.vlans[row];
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
    if (context.interfaces && !context.interfaces->contains(name))
        add("interface-unknown", all.vlanTable, row, name,
            "there is no interface " + printable(name) + " here");
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
        if (entry.number >= 0 && entry.number < chipPorts)
            continue;
        const char *fate = "; it is left out";
        if (entry.number >= chipPorts && entry.number < 16)
            fate = "; the chip refuses the VLAN";
        add("port-missing", all.vlanTable, row, subject,
            "port " + number + " in " + column + " is none of the chip" + fate);
    }
    for (int port = 0; port < chipPorts; ++port)
        if ((withoutRow >> port & 1) != 0)
            add("port-without-row", all.vlanTable, row,
                std::string(column) + " " + std::to_string(port),
                "port " + std::to_string(port) + " in " + column + " has no row");
}

void Checker::checkUntagged(size_t row, std::array<const Vlan *, chipPorts> &untaggedIn)
{
    const Vlan &vlan = all.vlans[row];
    uint32_t members = vlan.members.mask;
    // The chip adds the port towards the processor to a VLAN that has members.
    if (members != 0)
        members |= vlan.interfaceName == "eth0" && !vlan.inSwitchOnly ? 1u << 4 : 1u;
    for (int port = 0; port < chipPorts; ++port) {
        if ((vlan.untagged.mask >> port & 1) == 0)
            continue;
        const std::string number = std::to_string(port);
        if ((members >> port & 1) == 0)
            add("untag-without-membership", all.vlanTable, row, number,
                "port " + number + " is in untagMap and not in fwdMap");
        const Vlan *earlier = std::exchange(untaggedIn[static_cast<size_t>(port)], &vlan);
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
    const auto list = [](uint32_t ports) {
        return ports == 0 ? std::string("none") : portsText(ports);
    };
    add("shifted-ports", all.vlanTable, row, "",
        "of the chip ports below the engine, the chip carries it at " + list(byChip) +
            ", the engine above " + list(byEngine));
}

std::vector<Finding> Checker::run()
{
    checkStart();
    for (const Table *table : {&all.switchTable, &all.portTable, &all.vlanTable})
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
    const Configuration configuration = read(database);
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
