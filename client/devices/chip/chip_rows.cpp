// The rules that the chip adds for rows.
#include "client/devices/chip/chip.h"

#include "client/base/port_mask.h"
#include "client/base/text.h"

namespace swctl {
namespace {

constexpr Rule rules[] = {
    {switchTableName, "switch-device-missing", Severity::error, "the chip has no device node",
     "Every request to the chip goes through its device node; without one the chip cannot be "
     "opened, and a start stops there.",
     "Name it: 'swctl switch add BCM --device PATH', or set switchDevice in its row."},
    {vlanTableName, "port-without-row", Severity::warning,
     "a port list names a port that no row describes",
     "The port is added to the chip's table, but its default tag is not set.",
     "Add the port: 'swctl port add BCM PORT'."},
};

// The chip's ports as list entries, for a query.
std::string portEntries()
{
    std::string values;
    for (int port = 0; port < chipPortCount; ++port)
        values += (values.empty() ? "(" : ", (") + std::to_string(port) + ")";
    return "(SELECT ',' || column1 || ',' AS e FROM (VALUES " + values + ")) n";
}

// A list has a port number of two digits, or of one digit that is not a port of the chip. If
// there is no chip and another device takes the lists, the rule does not apply.
std::string portMissing()
{
    const std::string beyond = "'*[" + std::to_string(chipPortCount) + "-9]*'";
    return "(@fwdMap GLOB " + beyond +
           " OR @fwdMap GLOB '*[0-9][0-9]*'\n"
           "      OR @untagMap GLOB " +
           beyond +
           " OR @untagMap GLOB '*[0-9][0-9]*')\n"
           "      AND (EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.switchName = $self)\n"
           "      OR NOT EXISTS (SELECT 1 FROM swGlobalCfg o WHERE o.switchName IN ($others)))";
}

std::string untaggedOutside()
{
    const auto entry = [](int port) { return "'," + std::to_string(port) + ",'"; };
    return "EXISTS (SELECT 1 FROM " + portEntries() +
           "\n"
           "      WHERE instr(@untagMap, n.e) AND NOT instr(@fwdMap, n.e)\n"
           "      AND NOT (@fwdMap GLOB '*[0-9]*' AND n.e =\n"
           "         CASE WHEN NEW.interfaceName = '" +
           chipLanInterface + "' AND #inSwitchOnly = 0 THEN " + entry(chipLanHostPort) + " ELSE " +
           entry(chipHostPort) + " END))";
}

std::string untaggedTwice()
{
    return "EXISTS (SELECT 1 FROM " + portEntries() +
           ", vlanEncapIf o\n"
           "      WHERE instr(@untagMap, n.e) AND o.rowid <> NEW.rowid\n"
           "      AND instr(@o.untagMap, n.e))";
}

constexpr Guard guards[] = {
    {"switch-device-missing", switchTableName,
     "NEW.switchName = $self AND ifnull(NEW.switchDevice, '') = ''"},
    {"port-missing", vlanTableName, nullptr, portMissing},
    {"untag-without-membership", vlanTableName, nullptr, untaggedOutside},
    {"untag-twice", vlanTableName, nullptr, untaggedTwice},
};

constexpr uint32_t everyPort = (1u << chipPortCount) - 1;

// The chip's ports that have a row; all of them if there is no chip, which is reported for the
// switches.
uint32_t portsOfRows(const Configuration &all)
{
    const std::string name = chipDevice().name;
    if (!all.hasSwitch(name))
        return everyPort;
    uint32_t ports = 0;
    for (const PortRow &port : all.ports)
        if (port.owner == name)
            ports |= portBit(port.number) & everyPort;
    return ports;
}

void checkList(const Configuration &all, size_t row, const char *column, const PortList &list,
               uint32_t ports, std::vector<RowFault> &faults)
{
    const auto add = [&](const char *rule, const std::string &subject, std::string message) {
        faults.push_back(
            {rule, &all.vlanTable, row, std::string(column) + " " + subject, std::move(message)});
    };
    for (const ListEntry &entry : list.entries) {
        const std::string number = std::to_string(entry.number);
        if (!entry.plain)
            add("list-text", entry.text,
                "'" + printable(entry.text) + "' in " + column + " is read as port " + number);
        if (entry.number >= 0 && entry.number < chipPortCount)
            continue;
        const char *fate = "; it is ignored";
        if (entry.number >= chipPortCount && entry.number < 16)
            fate = "; the chip refuses the VLAN";
        add("port-missing", entry.text,
            "port " + number + " in " + column + " is not a port of the chip" + fate);
    }
    for (const int port : portsIn(list.mask & everyPort & ~ports)) {
        const std::string number = std::to_string(port);
        add("port-without-row", number, "port " + number + " in " + column + " has no row");
    }
}

} // namespace

std::span<const Rule> chipRules()
{
    return rules;
}

std::span<const Guard> chipGuards()
{
    return guards;
}

void checkChipRows(const Configuration &all, std::vector<RowFault> &faults)
{
    for (size_t row = 0; row < all.switches.size(); ++row)
        if (all.switches[row].name == chipDevice().name &&
            all.switchTable.rows[row].text("switchDevice").empty())
            faults.push_back({"switch-device-missing", &all.switchTable, row, "",
                              "its row names no device node"});
}

void checkChipLists(const Configuration &all, std::vector<RowFault> &faults)
{
    const Device &chip = chipDevice();
    const uint32_t ports = portsOfRows(all);
    for (size_t row = 0; row < all.vlans.size(); ++row) {
        const VlanRow &vlan = all.vlans[row];
        checkList(all, row, "fwdMap", vlan.members, ports, faults);
        checkList(all, row, "untagMap", vlan.untagged, ports, faults);
        // The service adds the host port to a VLAN that has members.
        uint32_t members = vlan.members.mask;
        if (members != 0)
            members |= chip.hostPorts(vlan.interfaceName, vlan.inSwitchOnly);
        checkUntagged(all, row, members, chip.portCount, faults);
    }
}

} // namespace swctl
