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

constexpr int32_t mapPorts = 16; // ports in an entry of the chip's VLAN table

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

// By the row's place in its table: the chip's driver is opened for a chip, the kernel is
// asked about a bridge, and an engine is driven by tools alone.
std::vector<Backend> backendsOf(const Rehearsal &start)
{
    std::vector<Backend> backends;
    Backend opened = Backend::engine;
    for (const Event &event : start.events()) {
        if (event.kind == rehearsal::Kind::opened)
            opened = event.data.starts_with("/sys/") ? Backend::bridge : Backend::chip;
        if (event.kind != rehearsal::Kind::row)
            continue;
        if (event.data != "swGlobalCfg")
            break;
        backends.push_back(event.number < 0 ? Backend::none : opened);
        opened = Backend::engine;
    }
    return backends;
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
    const std::vector<Backend> backends = backendsOf(start);
    for (const Row &row : database.rows("swGlobalCfg")) {
        SwitchConfig sw;
        sw.name = row.text("switchName");
        sw.device = row.text("switchDevice");
        sw.level = toInt(row.text("switchLevel"));
        sw.vlanEnabled = toInt(row.text("vlanEnable")) != 0;
        sw.qosEnabled = toInt(row.text("qosEnable")) != 0;
        if (network.switches.size() < backends.size())
            sw.carriedBy = backends[network.switches.size()];
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

// What decides which port of the chip leads a VLAN to the host.
using Route = std::pair<std::string, bool>; // Linux interface, switch only

// The chip's port to the host by route. It shows as the one member that the row
// does not name; where a row names it too, the service is asked what it adds to
// a VLAN with another member.
class HostPorts {
public:
    HostPorts(const GatewayView &gateway, Snapshot &snapshot, const Network &network,
              const Chip &chip)
    {
        learn(snapshot.database(), network, chip);
        std::vector<Route> unknown;
        for (const VlanConfig &vlan : network.vlans) {
            const Route route = routeOf(vlan);
            const auto entry = chip.vlans.find(vlan.id);
            if (entry != chip.vlans.end() && entry->second.fwdMap != 0 && !ports.contains(route) &&
                std::find(unknown.begin(), unknown.end(), route) == unknown.end())
                unknown.push_back(route);
        }
        if (!unknown.empty())
            probe(gateway, snapshot, unknown);
    }

    [[nodiscard]] bool leadsToHost(const VlanConfig &vlan, int32_t port) const
    {
        const auto found = ports.find(routeOf(vlan));
        return found != ports.end() && found->second == port;
    }

private:
    static Route routeOf(const VlanConfig &vlan) { return {vlan.interfaceName, vlan.switchOnly}; }

    void note(const Route &route, uint32_t added)
    {
        for (int32_t port = 0; port < mapPorts; ++port)
            if (added == 1u << port)
                ports[route] = port;
    }

    void learn(Database &database, const Network &network, const Chip &chip)
    {
        const std::vector<Row> rows = database.rows("vlanEncapIf");
        for (size_t at = 0; at < rows.size(); ++at) {
            const auto entry = chip.vlans.find(network.vlans[at].id);
            if (entry == chip.vlans.end() || network.vlans[at].fate == Fate::missing)
                continue;
            const uint32_t named = maskOf(rows[at].text("fwdMap"));
            note(routeOf(network.vlans[at]), entry->second.fwdMap & ~named);
        }
    }

    // With VLANs that no row has, added in a rehearsal of its own.
    void probe(const GatewayView &gateway, Snapshot &snapshot, const std::vector<Route> &routes)
    {
        constexpr uint32_t member = 1u << 1; // any port
        std::set<int> taken = vlanIdsIn(snapshot.database());
        std::map<int, Route> asked;
        Script script = gateway.startScript(snapshot);
        for (int id = highestVlan; id > 0 && asked.size() < routes.size(); --id) {
            if (taken.contains(id))
                continue;
            const Route &route = routes[asked.size()];
            asked[id] = route;
            SwMgrVlanRequest request{};
            request.vlan.vlanId = id;
            fillField(request.vlan.interfaceName, route.first);
            request.vlan.inSwitchOnly = route.second ? 1 : 0;
            request.vlan.fwdMap = member;
            script.request(SW_CMD_VLAN_ADD, bytesOf(request));
        }
        const Chip chip = rehearse(script).chip();
        for (const auto &[id, route] : asked)
            if (const auto entry = chip.vlans.find(id); entry != chip.vlans.end()) {
                const uint32_t map = entry->second.fwdMap;
                note(route, map != member ? map & ~member : map);
            }
    }

    std::map<Route, int32_t> ports;
};

Cell chipCell(const Chip &chip, const HostPorts &hostPorts, const VlanConfig &vlan, int32_t port)
{
    const auto entry = chip.vlans.find(vlan.id);
    if (entry == chip.vlans.end() || !hasBit(entry->second.fwdMap, port))
        return {};
    return {true, hasBit(entry->second.untagMap, port), hostPorts.leadsToHost(vlan, port)};
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

void drawLines(const GatewayView &gateway, Snapshot &snapshot, const Rehearsal &start,
               Network &network)
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
    const HostPorts hostPorts(gateway, snapshot, network, chip);
    for (const VlanConfig &vlan : network.vlans) {
        std::vector<Cell> &line = network.lines.emplace_back();
        for (const PortColumn &column : network.columns) {
            const SwitchConfig &sw = network.switches[column.owner];
            line.push_back(sw.carriedBy == Backend::chip
                               ? chipCell(chip, hostPorts, vlan, column.port)
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

Network networkOf(const GatewayView &gateway, Snapshot &snapshot, const Rehearsal &start)
{
    Network network;
    readSwitches(snapshot.database(), start, network);
    readVlans(snapshot.database(), start, network);
    network.stop = stopOf(snapshot.database(), start);
    drawLines(gateway, snapshot, start, network);
    return network;
}

Network networkOf(GatewayView &gateway)
{
    Snapshot snapshot(gateway.database());
    const auto running = gateway.rehearseStart(snapshot);
    const std::vector<Finding> findings = checkConfiguration(snapshot.database(), {});
    Network network = networkOf(gateway, snapshot, running->finish());
    for (const Finding &finding : findings)
        if (finding.severity == Severity::error)
            network.notes.push_back(finding.name + ": " + finding.message);
        else
            ++network.warnings;
    return network;
}

} // namespace swctl
