// The configuration and the membership that follows from it; see the header.
#include "swctl/model.h"

#include "swctl/number.h"
#include "swctl/text.h"

#include <algorithm>
#include <set>

namespace swctl {
namespace {

constexpr int32_t maskPorts = 32;      // ports in a mask
constexpr uint32_t chipPorts = 0x1f;   // the chip's five ports
constexpr int32_t chipTablePorts = 16; // ports in an entry of the chip's VLAN table
constexpr int32_t engineCpuPort = 2;
constexpr int32_t chipWanCpuPort = 4; // of VLANs on eth0

uint32_t toMask(const std::string &list)
{
    uint32_t mask = 0;
    for (const std::string &entry : entriesOf(list)) {
        const int32_t port = toInt(entry);
        if (port >= 0 && port < maskPorts)
            mask |= 1u << port;
    }
    return mask;
}

bool hasBit(uint32_t mask, int32_t bit)
{
    return bit >= 0 && bit < maskPorts && (mask >> bit & 1) != 0;
}

void readSwitches(Database &database, Model &model)
{
    for (const Row &row : database.rows("swGlobalCfg")) {
        SwitchConfig sw;
        sw.name = row.text("switchName");
        sw.device = row.text("switchDevice");
        sw.level = toInt(row.text("switchLevel"));
        sw.vlanEnabled = toInt(row.text("vlanEnable")) != 0;
        sw.qosEnabled = toInt(row.text("qosEnable")) != 0;
        if (sw.name == "BCM")
            sw.backend = Backend::chip;
        else if (sw.name == "PSE")
            sw.backend = Backend::engine;
        else
            model.notes.push_back("no backend drives a switch named " + sw.name);
        model.switches.push_back(std::move(sw));
    }
    std::stable_sort(
        model.switches.begin(), model.switches.end(),
        [](const SwitchConfig &a, const SwitchConfig &b) { return a.level > b.level; });
}

template <class Model>
auto *findSwitch(Model &model, const std::string &name)
{
    const auto found = std::find_if(model.switches.begin(), model.switches.end(),
                                    [&](const SwitchConfig &sw) { return sw.name == name; });
    return found == model.switches.end() ? nullptr : &*found;
}

const PortConfig *findPort(const SwitchConfig *sw, int32_t number)
{
    if (sw == nullptr)
        return nullptr;
    const auto found = std::find_if(sw->ports.begin(), sw->ports.end(),
                                    [&](const PortConfig &port) { return port.number == number; });
    return found == sw->ports.end() ? nullptr : &*found;
}

void readMappings(const std::string &text, const std::string &owner, PortConfig &port, Model &model)
{
    for (const std::string &entry : entriesOf(text)) {
        const size_t colon = entry.find(':');
        const std::string name = entry.substr(0, colon);
        const int32_t number = colon == std::string::npos ? 0 : toInt(entry.substr(colon + 1));
        if (colon == std::string::npos || name == owner ||
            findPort(findSwitch(model, name), number) == nullptr)
            model.notes.push_back(std::string("port ")
                                      .append(std::to_string(port.number))
                                      .append(" of ")
                                      .append(owner)
                                      .append(" is mapped to ")
                                      .append(entry)
                                      .append(", which no earlier row adds"));
        else
            port.mapped.push_back({name, number});
    }
}

void readPorts(Database &database, Model &model)
{
    for (const Row &row : database.rows("swPortConfig")) {
        const std::string owner = row.text("switchName");
        PortConfig port;
        port.number = toInt(row.text("portNumber"));
        port.pvid = toInt(row.text("PVID"));
        port.interfaceName = row.text("interfaceName");
        const std::string name = "port " + std::to_string(port.number) + " of " + owner;
        SwitchConfig *sw = findSwitch(model, owner);
        if (sw == nullptr) {
            model.notes.push_back(name + ": there is no such switch");
            continue;
        }
        if (findPort(sw, port.number) != nullptr) {
            model.notes.push_back(name + " is configured twice");
            continue;
        }
        readMappings(row.text("phyDevice"), owner, port, model);
        sw->ports.push_back(std::move(port));
    }
}

void readVlans(Database &database, Model &model)
{
    std::set<int32_t> seen;
    for (const Row &row : database.rows("vlanEncapIf")) {
        VlanConfig vlan;
        vlan.id = toInt(row.text("vlanId"));
        vlan.interfaceName = row.text("interfaceName");
        vlan.logicalName = row.text("LogicalIfName");
        vlan.members = toMask(row.text("fwdMap"));
        vlan.untagged = toMask(row.text("untagMap"));
        vlan.switchOnly = toInt(row.text("inSwitchOnly")) != 0;
        if (seen.insert(vlan.id).second)
            model.vlans.push_back(std::move(vlan));
        else
            model.notes.push_back("VLAN " + std::to_string(vlan.id) +
                                  " is configured twice; the service stops loading there");
    }
}

void noteOddPorts(Model &model)
{
    uint32_t known = 0;
    for (const SwitchConfig &sw : model.switches)
        if (sw.backend == Backend::chip)
            for (const PortConfig &port : sw.ports)
                known |= hasBit(~0u, port.number) ? 1u << port.number : 0;
    for (const VlanConfig &vlan : model.vlans)
        for (int32_t port = 0; port < maskPorts; ++port) {
            const std::string name =
                "VLAN " + std::to_string(vlan.id) + ": port " + std::to_string(port);
            if (hasBit(vlan.members & ~known, port))
                model.notes.push_back(name + " is no configured port of the chip");
            if (hasBit(vlan.untagged & ~vlan.members, port))
                model.notes.push_back(name + " is untagged but no member");
        }
}

int32_t chipCpuPort(const VlanConfig &vlan)
{
    return !vlan.switchOnly && vlan.interfaceName == "eth0" ? chipWanCpuPort : 0;
}

Cell chipCell(const VlanConfig &vlan, int32_t port)
{
    if (port >= chipTablePorts)
        return {};
    Cell cell;
    cell.cpu = vlan.members != 0 && port == chipCpuPort(vlan);
    cell.member = cell.cpu || hasBit(vlan.members, port);
    cell.untagged = cell.member && hasBit(vlan.untagged, port);
    return cell;
}

// The engine reads the mask by the lower ports that its port is mapped to, and
// there bit n stands for port n + 1.
bool engineMember(const VlanConfig &vlan, const PortConfig &port)
{
    return std::any_of(
        port.mapped.begin(), port.mapped.end(),
        [&](const auto &mapping) {
            return mapping.port >= 1 && hasBit(vlan.members, mapping.port - 1);
        });
}

Cell engineCell(const SwitchConfig &sw, const VlanConfig &vlan, int32_t number)
{
    const bool anyMember =
        std::any_of(sw.ports.begin(), sw.ports.end(),
                    [&](const PortConfig &port) { return engineMember(vlan, port); });
    const PortConfig *port = findPort(&sw, number);
    Cell cell;
    cell.cpu = anyMember && number == engineCpuPort;
    cell.member = cell.cpu || (port != nullptr && number < maskPorts && engineMember(vlan, *port));
    return cell;
}

Cell cellOf(const PortColumn &column, const VlanConfig &vlan)
{
    return column.owner->backend == Backend::chip ? chipCell(vlan, column.port)
                                                  : engineCell(*column.owner, vlan, column.port);
}

// The untag sets as the chip's backend keeps them: each VLAN takes the chip's
// ports that it sends untagged out of every earlier one.
std::vector<uint32_t> untagSets(const Model &model)
{
    std::vector<uint32_t> sets;
    for (const VlanConfig &vlan : model.vlans) {
        for (uint32_t &earlier : sets)
            earlier &= vlan.untagged ^ chipPorts;
        sets.push_back(vlan.untagged);
    }
    return sets;
}

std::vector<int32_t> portNumbers(const Model &model, const SwitchConfig &sw)
{
    std::set<int32_t> numbers;
    for (const PortConfig &port : sw.ports)
        numbers.insert(port.number);
    // A CPU port shows even where no row describes it.
    for (const VlanConfig &vlan : model.vlans) {
        if (sw.backend == Backend::chip && chipCell(vlan, chipCpuPort(vlan)).cpu)
            numbers.insert(chipCpuPort(vlan));
        if (sw.backend == Backend::engine && engineCell(sw, vlan, engineCpuPort).cpu)
            numbers.insert(engineCpuPort);
    }
    return {numbers.begin(), numbers.end()};
}

} // namespace

Model readModel(Database &database)
{
    Model model;
    const Transaction transaction(database, Access::read);
    readSwitches(database, model);
    readPorts(database, model);
    readVlans(database, model);
    noteOddPorts(model);
    return model;
}

Matrix membership(const Model &model)
{
    Matrix matrix;
    const std::vector<uint32_t> untagged = untagSets(model);
    for (const SwitchConfig &sw : model.switches) {
        if (sw.backend == Backend::unknown)
            continue;
        for (const int32_t number : portNumbers(model, sw)) {
            PortColumn column{&sw, number, std::nullopt};
            const PortConfig *port = findPort(&sw, number);
            if (sw.backend == Backend::chip && port != nullptr) {
                column.pvid = port->pvid;
                for (size_t i = 0; i < untagged.size(); ++i)
                    if (hasBit(untagged[i], number))
                        column.pvid = model.vlans[i].id;
            }
            matrix.columns.push_back(column);
        }
    }
    for (const VlanConfig &vlan : model.vlans) {
        std::vector<Cell> &line = matrix.lines.emplace_back();
        for (const PortColumn &column : matrix.columns)
            line.push_back(cellOf(column, vlan));
    }
    return matrix;
}

} // namespace swctl
