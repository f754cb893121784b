#include "client/view/inspection.h"

#include "client/base/number.h"
#include "client/change/settle.h"
#include "client/check/check_context.h"

#include <algorithm>

namespace swctl {
namespace {

// The VLANs of untagged frames at these ports of the chip. What the ports may do is kept
// in `read`.
std::set<int> untaggedOf(const GatewayView &gateway, Database &database, const Target &target,
                         const std::set<int> &ports, Part<Chip> &read)
{
    std::set<int> ids;
    const std::string device = chipDevice(database);
    if (device.empty())
        return ids;
    read = readChipPorts(gateway.site(), device);
    for (const int port : ports) {
        if (port >= chipPortCount)
            continue;
        const auto at = static_cast<size_t>(port);
        ids.insert(target.chip.ports[at].pvid);
        if (read.held)
            ids.insert(read.held->ports[at].pvid);
    }
    return ids;
}

// A bridge is read as a whole; these of its VLANs are compared, too.
void addUntagged(const Network &network, const Target &target, const std::set<int> &ports,
                 Actual &actual)
{
    for (const SwitchConfig &sw : network.switches)
        for (const PortConfig &port : sw.ports)
            if (sw.carriedBy == Backend::bridge && ports.contains(port.number))
                actual.chipIds.insert({untaggedVlan(target.bridge, port.interfaceName),
                                       untaggedVlan(*actual.bridge.held, port.interfaceName)});
    actual.chipIds.erase(0);
}

std::vector<Finding> findingsIn(const GatewayView &gateway, Snapshot &snapshot,
                                const Rehearsal &start)
{
    CheckContext context = checkContextOf(gateway);
    context.start = &start;
    return checkConfiguration(snapshot.database(), context);
}

} // namespace

Inspection inspect(GatewayView &gateway, const std::set<int> &vlanIds, const std::set<int> &ports)
{
    Snapshot snapshot(gateway.database());
    Inspection inspection;
    inspection.interfaces = gateway.interfaces();
    inspection.vlanRows = snapshot.database().rows("vlanEncapIf");
    inspection.start.emplace(gateway.rehearseStart(snapshot)->finish());
    inspection.findings = findingsIn(gateway, snapshot, *inspection.start);
    inspection.network = networkOf(snapshot, *inspection.start);
    inspection.target = targetOf(*inspection.start, vlanIdsIn(snapshot.database()));
    std::set<int> ids = vlanIds;
    Part<Chip> chipPorts;
    if (!ports.empty())
        ids.merge(untaggedOf(gateway, snapshot.database(), inspection.target, ports, chipPorts));
    inspection.actual =
        gateway.read(snapshot, inspection.target, ids, GatewayView::Extent::touched);
    if (inspection.actual.chip.held && chipPorts.held)
        inspection.actual.chip.held->ports = chipPorts.held->ports;
    if (inspection.actual.bridge.held)
        addUntagged(inspection.network, inspection.target, ports, inspection.actual);
    inspection.differences = counting(differences(inspection.target, inspection.actual));
    if (!inspection.actual.chip.held && inspection.target.chipRun)
        inspection.unread.push_back("chip: " + inspection.actual.chip.reason);
    if (!inspection.actual.kernel.held)
        inspection.unread.push_back("kernel: " + inspection.actual.kernel.reason);
    if (!inspection.actual.bridge.held)
        inspection.unread.push_back("bridge: " + inspection.actual.bridge.reason);
    return inspection;
}

std::vector<Row> Inspection::rowsOf(int vlanId) const
{
    std::vector<Row> rows;
    for (const Row &row : vlanRows)
        if (toInt(row.text("vlanId")) == vlanId)
            rows.push_back(row);
    return rows;
}

std::string Inspection::nameOf(Backend backend) const
{
    for (const SwitchConfig &sw : network.switches)
        if (sw.carriedBy == backend)
            return sw.name;
    return {};
}

EngineVlan Inspection::engineOf(int vlanId) const
{
    return engineVlan(start->state().engine, vlanId);
}

} // namespace swctl
