// Rows, rehearsal and reading side by side; see the header.
#include "client/view/look.h"

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
            if (sw.carriedBy == Device::bridge && ports.contains(port.number))
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

Look lookAt(GatewayView &gateway, const std::set<int> &vlanIds, const std::set<int> &ports)
{
    Snapshot snapshot(gateway.database());
    Look look;
    look.interfaces = gateway.interfaces();
    look.vlanRows = snapshot.database().rows("vlanEncapIf");
    look.start.emplace(gateway.rehearseStart(snapshot)->finish());
    look.findings = findingsIn(gateway, snapshot, *look.start);
    look.network = networkOf(gateway, snapshot, *look.start);
    look.target = targetOf(*look.start, vlanIdsIn(snapshot.database()));
    std::set<int> ids = vlanIds;
    Part<Chip> chipPorts;
    if (!ports.empty())
        ids.merge(untaggedOf(gateway, snapshot.database(), look.target, ports, chipPorts));
    look.actual = gateway.read(snapshot, look.target, ids, GatewayView::Extent::touched);
    if (look.actual.chip.held && chipPorts.held)
        look.actual.chip.held->ports = chipPorts.held->ports;
    if (look.actual.bridge.held)
        addUntagged(look.network, look.target, ports, look.actual);
    look.differences = counting(differences(look.target, look.actual));
    if (!look.actual.chip.held && look.target.chipRun)
        look.unread.push_back("chip: " + look.actual.chip.reason);
    if (!look.actual.kernel.held)
        look.unread.push_back("kernel: " + look.actual.kernel.reason);
    if (!look.actual.bridge.held)
        look.unread.push_back("bridge: " + look.actual.bridge.reason);
    return look;
}

std::vector<Row> Look::rowsOf(int vlanId) const
{
    std::vector<Row> rows;
    for (const Row &row : vlanRows)
        if (toInt(row.text("vlanId")) == vlanId)
            rows.push_back(row);
    return rows;
}

std::string Look::nameOf(Device device) const
{
    for (const SwitchConfig &sw : network.switches)
        if (sw.carriedBy == device)
            return sw.name;
    return {};
}

EngineVlan Look::engineOf(int vlanId) const
{
    return engineVlan(start->state().engine, vlanId);
}

} // namespace swctl
