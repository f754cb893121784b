#include "client/view/network.h"

#include "client/base/wire.h"
#include "client/devices/bridge.h"

#include "client/base/number.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/check/check.h"
#include "client/rows/check_rows.h"
#include "client/rows/columns.h"
#include "client/service/service.h"

#include <algorithm>
#include <map>

namespace swctl {
namespace {

bool hasBit(uint32_t mask, int32_t bit)
{
    return (mask & portBit(bit)) != 0;
}

// The start's status for each row of a table as far as it came.
std::vector<int> rowStatuses(const Rehearsal &start, const char *table)
{
    std::vector<int> statuses;
    for (const Event &event : start.events())
        if (event.kind == rehearsal::Kind::row && event.data == table)
            statuses.push_back(event.number);
    return statuses;
}

Backend backendOf(const std::string &name)
{
    const Device *device = deviceOf(name);
    return device != nullptr ? device->backend : Backend::none;
}

std::vector<PortConfig::Mapping> mappingsOf(const std::string &text)
{
    std::vector<PortConfig::Mapping> mapped;
    for (const std::string &entry : entriesOf(text)) {
        const size_t colon = entry.find(':');
        const std::string number = colon != std::string::npos ? entry.substr(colon + 1) : "";
        mapped.push_back({entry.substr(0, colon), toInt(number)});
    }
    return mapped;
}

void readSwitches(Database &database, const Rehearsal &start, Network &network)
{
    const std::vector<int> statuses = rowStatuses(start, switchTableName);
    for (const Row &row : database.rows("swGlobalCfg")) {
        SwitchConfig sw;
        sw.name = row.text("switchName");
        sw.device = row.text("switchDevice");
        sw.level = toInt(row.text("switchLevel"));
        sw.vlanEnabled = toInt(row.text("vlanEnable")) != 0;
        sw.qosEnabled = toInt(row.text("qosEnable")) != 0;
        const size_t at = network.switches.size();
        if (at < statuses.size() && statuses[at] >= 0)
            sw.carriedBy = backendOf(sw.name);
        network.switches.push_back(std::move(sw));
    }
    for (const Row &row : database.rows("swPortConfig"))
        for (SwitchConfig &sw : network.switches)
            if (sw.name == row.text("switchName"))
                sw.ports.push_back({toInt(row.text("portNumber")), row.text("interfaceName"),
                                    mappingsOf(row.text("phyDevice"))});
    std::stable_sort(
        network.switches.begin(), network.switches.end(),
        [](const SwitchConfig &a, const SwitchConfig &b) { return a.level > b.level; });
}

void readVlans(Database &database, const Rehearsal &start, Network &network)
{
    const std::vector<int> statuses = rowStatuses(start, "vlanEncapIf");
    for (const Row &row : database.rows("vlanEncapIf")) {
        const size_t at = network.vlans.size();
        const Fate fate = at >= statuses.size() ? Fate::missing
                          : statuses[at] < 0    ? Fate::stopsHere
                                                : Fate::applied;
        network.vlans.push_back({toInt(row.text("vlanId")), row.text("interfaceName"),
                                 row.text("LogicalIfName"), toInt(row.text("inSwitchOnly")) != 0,
                                 fate});
    }
}

// --- who takes part in what --------------------------------------------------

Cell chipCell(const Chip &chip, const VlanConfig &vlan, int32_t port)
{
    const auto entry = chip.vlans.find(vlan.id);
    if (entry == chip.vlans.end() || !hasBit(entry->second.fwdMap, port))
        return {};
    return {true, hasBit(entry->second.untagMap, port),
            hasBit(chipHostPorts(vlan.interfaceName, vlan.switchOnly), port)};
}

Cell engineCell(const EngineVlan &vlan, int32_t port)
{
    if (!hasBit(vlan.members, port))
        return {};
    return {true, !hasBit(vlan.tagged, port), hasBit(vlan.cpu, port)};
}

std::string interfaceOf(const SwitchConfig &sw, int32_t port)
{
    for (const PortConfig &row : sw.ports)
        if (row.number == port)
            return row.interfaceName;
    return {};
}

Cell bridgeCell(const Bridge &bridge, const VlanConfig &vlan, const std::string &interface)
{
    const auto entry = bridge.vlans.find(vlan.id);
    if (entry == bridge.vlans.end() || !entry->second.contains(interface))
        return {};
    return {true, entry->second.at(interface) == Tagging::untagged, false};
}

// The ports of a switch: those of its rows, and those that take part in a VLAN.
std::set<int32_t> portsOf(const SwitchConfig &sw, uint32_t members)
{
    std::set<int32_t> ports;
    for (const PortConfig &port : sw.ports)
        ports.insert(port.number);
    for (const int port : portsIn(members))
        ports.insert(port);
    return ports;
}

void drawLines(const Rehearsal &start, Network &network)
{
    const Chip chip = start.chip();
    const Bridge bridge = bridgeOf(start.events());
    std::map<int32_t, EngineVlan> engineVlans;
    uint32_t inChip = 0;
    uint32_t inEngine = 0;
    for (const VlanConfig &vlan : network.vlans) {
        const auto entry = chip.vlans.find(vlan.id);
        inChip |= entry != chip.vlans.end() ? entry->second.fwdMap : 0;
        engineVlans[vlan.id] = {};
    }
    const engine::State &state = start.state().engine;
    for (auto &[id, vlan] : engineVlans) {
        vlan = engineVlan(state, id);
        inEngine |= vlan.members;
    }
    for (size_t owner = 0; owner < network.switches.size(); ++owner) {
        const SwitchConfig &sw = network.switches[owner];
        if (sw.carriedBy == Backend::none)
            continue;
        const bool isChip = sw.carriedBy == Backend::chip;
        const bool isBridge = sw.carriedBy == Backend::bridge;
        for (const int32_t port : portsOf(sw, isChip ? inChip : isBridge ? 0 : inEngine)) {
            PortColumn column{owner, port, std::nullopt};
            if (const int pvid = untaggedVlan(bridge, interfaceOf(sw, port)); isBridge && pvid != 0)
                column.pvid = pvid;
            if (isChip && port >= 0 && port < chipPortCount)
                column.pvid = chip.ports[static_cast<size_t>(port)].pvid;
            network.columns.push_back(column);
        }
    }
    for (const VlanConfig &vlan : network.vlans) {
        std::vector<Cell> &line = network.lines.emplace_back();
        for (const PortColumn &column : network.columns) {
            const SwitchConfig &sw = network.switches[column.owner];
            line.push_back(sw.carriedBy == Backend::chip ? chipCell(chip, vlan, column.port)
                           : sw.carriedBy == Backend::bridge
                               ? bridgeCell(bridge, vlan, interfaceOf(sw, column.port))
                               : engineCell(engineVlans[vlan.id], column.port));
        }
    }
}

} // namespace

std::optional<Stop> stopOf(Database &database, const Rehearsal &start)
{
    const std::optional<StoppedAt> stopped = start.stoppedAt();
    if (!stopped && start.loadStatus() >= 0)
        return std::nullopt;
    Stop stop;
    stop.status = start.loadStatus();
    if (stopped) {
        stop.table = stopped->table;
        stop.row = stopped->row + 1;
        stop.status = stopped->status;
        stop.reasons = stopped->reasons;
    }
    for (const char *table : {"swGlobalCfg", "swPortConfig", "vlanEncapIf"}) {
        const std::vector<int> statuses = rowStatuses(start, table);
        const std::vector<Row> rows = database.rows(table);
        for (size_t at = 0; at < rows.size(); ++at) {
            if (at < statuses.size() && statuses[at] >= 0)
                continue;
            const std::string name = nameOf(table, rows[at]);
            if (stop.table == table && at < statuses.size())
                stop.name = name;
            if (std::string_view(table) == "vlanEncapIf")
                stop.vlans.push_back(toInt(rows[at].text("vlanId")));
            else
                stop.missing.push_back(name);
        }
    }
    return stop;
}

EngineVlan engineVlan(const engine::State &state, int32_t vlanId)
{
    EngineVlan vlan;
    for (uint32_t index = 0; index < state.vlanIndexEnd; ++index) {
        const engine::VlanEntry &entry = state.vlans[index];
        if (entry.present == 0 || entry.vlanId != vlanId)
            continue;
        vlan.members |= entry.mbMap;
        vlan.tagged |= entry.etagMap;
    }
    if (vlanId >= 0 && static_cast<uint32_t>(vlanId) < engine::vlanIdCount)
        for (const engine::ArlEntry &entry : state.arl[vlanId])
            vlan.cpu |= entry.present != 0 ? entry.portMap : 0;
    return vlan;
}

bool beginsSwitch(const Network &network, size_t column)
{
    return column == 0 || network.columns[column].owner != network.columns[column - 1].owner;
}

Network networkOf(Snapshot &snapshot, const Rehearsal &start)
{
    Network network;
    readSwitches(snapshot.database(), start, network);
    readVlans(snapshot.database(), start, network);
    network.stop = stopOf(snapshot.database(), start);
    drawLines(start, network);
    return network;
}

Network networkOf(GatewayView &gateway)
{
    Snapshot snapshot(gateway.database());
    const auto running = gateway.rehearseStart(snapshot);
    const std::vector<Finding> findings = checkConfiguration(snapshot.database(), {});
    Network network = networkOf(snapshot, running->finish());
    for (const Finding &finding : findings)
        if (finding.severity == Severity::error)
            network.notes.push_back(finding.name + ": " + finding.message);
        else
            ++network.warnings;
    return network;
}

} // namespace swctl
