#include "client/devices/gateway_view.h"

#include "client/base/number.h"
#include "client/devices/devices.h"
#include "client/devices/own_links.h"

#include <unistd.h>

#include <utility>

namespace swctl {
namespace {

// Of the rows' devices those that are there; a name that no device has when none
// is, since an empty list would stand for all.
std::vector<std::string> devicesThere(Database &database, const Site &site)
{
    std::vector<std::string> devices;
    for (const Row &row : database.rows("swGlobalCfg")) {
        const std::string device = row.text("switchDevice");
        if (access(site.devicePath(device).c_str(), F_OK) == 0)
            devices.push_back(device);
    }
    if (devices.empty())
        devices.emplace_back("none");
    return devices;
}

// The interfaces that rows name as ports of a bridge.
std::set<std::string> bridgePorts(Database &database)
{
    std::set<std::string> names;
    for (const Row &row : database.rows("swPortConfig"))
        if (isDevice(row.text("switchName"), Backend::bridge))
            names.insert(row.text("interfaceName"));
    return names;
}

} // namespace

GatewayView::GatewayView(Database opened, const std::string &explicitSite)
    : rows(std::move(opened)), given(explicitSite), place(findSite(rows.file(), given)),
      known(interfacesOf(place))
{
}

Script GatewayView::startScript(Snapshot &snapshot) const
{
    Script script(known, devicesThere(snapshot.database(), place));
    script.image(snapshot.image()).start();
    return script;
}

std::unique_ptr<RunningRehearsal> GatewayView::rehearseStart(Snapshot &snapshot) const
{
    return std::make_unique<RunningRehearsal>(startScript(snapshot));
}

Actual GatewayView::read(Snapshot &snapshot, const Target &target, const std::set<int> &moreIds,
                         Extent extent, const Progress &progress) const
{
    Actual actual;
    actual.kernel = readKernel(place);
    if (actual.kernel.held)
        actual.foreign = setForeignApart(*actual.kernel.held, target.kernel,
                                         snapshot.database().rows("vlanEncapIf"), rows.file());
    actual.engine = readEngine();
    std::set<int> ids = moreIds;
    if (actual.kernel.held)
        for (const auto &[name, sub] : actual.kernel.held->interfaces)
            if (extent == Extent::whole || !target.vlanIds.contains(sub.vlanId))
                ids.insert(sub.vlanId);
    if (extent == Extent::whole) {
        ids.insert(target.vlanIds.begin(), target.vlanIds.end());
        for (const auto &[id, vlan] : target.chip.vlans)
            ids.insert(id);
    }
    ids.erase(ids.begin(), ids.lower_bound(lowestVlan));
    ids.erase(ids.upper_bound(highestVlan), ids.end());
    const std::string device = chipDevice(snapshot.database());
    if (!device.empty())
        actual.chip = readChip(place, device, ids, progress);
    else
        actual.chip.held.emplace(); // no switch is a chip: there is nothing to read
    if (target.bridge.name.empty())
        actual.bridge.held.emplace();
    else if (place.engineState.empty())
        actual.bridge = readBridge(target.bridge.name, bridgePorts(snapshot.database()));
    else
        actual.bridge.reason = "a simulated gateway has none";
    if (actual.bridge.held && extent == Extent::whole)
        for (const auto &[id, members] : actual.bridge.held->vlans)
            ids.insert(id);
    actual.chipIds = std::move(ids);
    return actual;
}

Target targetOfStart(const GatewayView &gateway, Snapshot &snapshot)
{
    return targetOf(gateway.rehearseStart(snapshot)->finish(), vlanIdsIn(snapshot.database()));
}

std::set<int> vlanIdsIn(Database &database)
{
    std::set<int> ids;
    for (const Row &row : database.rows("vlanEncapIf"))
        ids.insert(toInt(row.text("vlanId")));
    return ids;
}

std::string chipDevice(Database &database)
{
    for (const Row &row : database.rows("swGlobalCfg"))
        if (isDevice(row.text("switchName"), Backend::chip))
            return row.text("switchDevice");
    return {};
}

} // namespace swctl
