#include "client/view/network.h"

#include "client/base/number.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/check/accepted.h"
#include "client/gateway/devices.h"
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

// The start's status for each row of a table that it reached.
std::vector<int> rowStatuses(const Rehearsal &start, const char *table)
{
    std::vector<int> statuses;
    for (const Event &event : start.events())
        if (event.kind == rehearsal::Kind::row && event.data == table)
            statuses.push_back(event.number);
    return statuses;
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
        sw.node = row.text("switchDevice");
        sw.level = toInt(row.text("switchLevel"));
        sw.vlanEnabled = toInt(row.text("vlanEnable")) != 0;
        sw.qosEnabled = toInt(row.text("qosEnable")) != 0;
        const size_t at = network.switches.size();
        if (at < statuses.size() && statuses[at] >= 0)
            sw.device = deviceOf(sw.name);
        network.switches.push_back(std::move(sw));
    }
    for (const Row &row : database.rows("swPortConfig"))
        for (SwitchConfig &sw : network.switches)
            if (sw.name == row.text("switchName"))
                sw.ports.push_back({{toInt(row.text("portNumber")), row.text("interfaceName")},
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

// --- membership ------------------------------------------------------------

// The ports of a switch: those in its rows, and those that are members of a VLAN.
std::vector<DevicePort> columnsOf(const SwitchConfig &sw, uint32_t members)
{
    std::map<int32_t, DevicePort> ports;
    for (const PortConfig &port : sw.ports)
        ports.emplace(port.number, port);
    for (const int port : portsIn(members))
        ports.emplace(port, DevicePort{port, {}});
    std::vector<DevicePort> columns;
    columns.reserve(ports.size());
    for (auto &[number, port] : ports)
        columns.push_back(std::move(port));
    return columns;
}

Cell cellOf(const SwitchConfig &sw, const DeviceState &state, const VlanConfig &vlan, int32_t port)
{
    const VlanEntry entry = state.entry(vlan.id);
    if (!hasBit(entry.members, port))
        return {};
    return {true, hasBit(entry.untagged, port),
            hasBit(entry.host | sw.device->hostPorts(vlan.interfaceName, vlan.switchOnly), port)};
}

void drawLines(const Target &target, Network &network)
{
    for (size_t owner = 0; owner < network.switches.size(); ++owner) {
        const SwitchConfig &sw = network.switches[owner];
        if (sw.device == nullptr)
            continue;
        const DeviceState &state = target.of(*sw.device);
        uint32_t members = 0;
        for (const VlanConfig &vlan : network.vlans)
            members |= state.entry(vlan.id).members;
        for (const DevicePort &port : columnsOf(sw, members))
            network.columns.push_back({owner, port.number, state.defaultTag(port)});
    }
    for (const VlanConfig &vlan : network.vlans) {
        std::vector<Cell> &line = network.lines.emplace_back();
        for (const PortColumn &column : network.columns) {
            const SwitchConfig &sw = network.switches[column.owner];
            line.push_back(cellOf(sw, target.of(*sw.device), vlan, column.port));
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

bool beginsSwitch(const Network &network, size_t column)
{
    return column == 0 || network.columns[column].owner != network.columns[column - 1].owner;
}

Network networkOf(Snapshot &snapshot, const Rehearsal &start, const Target &target)
{
    Network network;
    readSwitches(snapshot.database(), start, network);
    readVlans(snapshot.database(), start, network);
    network.stop = stopOf(snapshot.database(), start);
    drawLines(target, network);
    return network;
}

namespace {

std::vector<SentSetting> sentSettings(const Target &target)
{
    const Part<FailedTools> tools = readFailedTools();
    const SentLog log = readSentLog(tools.held ? "" : tools.reason);
    Actual actual;
    for (const Device *device : devices())
        device->readSettings(log, /*site=*/nullptr, {}, actual.settings);
    std::vector<SentSetting> sent;
    for (const WantedSetting &wanted : target.settings)
        if (const SettingInForce *held = inForce(wanted, actual);
            held != nullptr && !held->source.empty())
            sent.push_back({wanted.label(), wanted.value, held->value, held->source});
    return sent;
}

} // namespace

Network networkOf(GatewayView &gateway)
{
    Snapshot snapshot(gateway.database());
    const auto running = gateway.rehearseStart(snapshot);
    std::vector<Finding> findings = checkConfiguration(snapshot.database(), {});
    markAccepted(snapshot.database(), findings);
    const Rehearsal start = running->finish();
    const Target target = targetOf(start, snapshot.database());
    Network network = networkOf(snapshot, start, target);
    network.sent = sentSettings(target);
    for (const Finding &finding : findings)
        if (finding.severity == Severity::error)
            network.notes.push_back(finding.name + ": " + finding.message);
        else if (!finding.accepted)
            ++network.warnings;
    return network;
}

} // namespace swctl
