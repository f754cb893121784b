// Rows, rehearsal and reading side by side; see the header.
#include "swctl/look.h"

#include "swctl/number.h"
#include "swctl/settle.h"

#include <algorithm>

namespace swctl {
namespace {

// The VLANs of a port's untagged frames. What the ports may do is kept in `ports`.
std::set<int> untaggedOf(const GatewayView &gateway, Database &database, const Target &target,
                         int port, Part<Chip> &ports)
{
    const auto at = static_cast<size_t>(port);
    std::set<int> ids{target.chip.ports[at].pvid};
    ports = readChipPorts(gateway.site(), chipDevice(database));
    if (ports.held)
        ids.insert(ports.held->ports[at].pvid);
    return ids;
}

std::vector<Finding> findingsIn(Snapshot &snapshot, const Look &look)
{
    CheckContext context;
    context.interfaces.emplace();
    for (const auto &[name, address] : look.interfaces)
        context.interfaces->insert(name);
    context.start = &*look.start;
    return checkConfiguration(snapshot.database(), context);
}

} // namespace

Look lookAt(const std::string &databasePath, const std::string &siteFile,
            const std::set<int> &vlanIds, std::optional<int> chipPort)
{
    const GatewayView gateway(databasePath, siteFile);
    Database database(databasePath, Access::read);
    Snapshot snapshot(database);
    Look look;
    look.interfaces = gateway.interfaces();
    look.vlanRows = snapshot.database().rows("vlanEncapIf");
    look.start.emplace(gateway.rehearseStart(snapshot)->finish());
    look.findings = findingsIn(snapshot, look);
    look.network = networkOf(gateway, snapshot, *look.start);
    look.target = targetOf(*look.start, vlanIdsIn(snapshot.database()));
    std::set<int> ids = vlanIds;
    Part<Chip> ports;
    if (chipPort)
        ids.merge(untaggedOf(gateway, snapshot.database(), look.target, *chipPort, ports));
    look.actual = gateway.read(snapshot, look.target, ids, GatewayView::Extent::touched);
    if (look.actual.chip.held && ports.held)
        look.actual.chip.held->ports = ports.held->ports;
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
