#include "client/gateway/gateway_view.h"

#include "client/base/number.h"
#include "client/devices/host_links.h"
#include "client/devices/own_links.h"
#include "client/gateway/devices.h"

#include <algorithm>
#include <unistd.h>

#include <utility>

namespace swctl {
namespace {

// The device nodes in the rows that exist. If none do, a name that no device has, because an
// empty list would mean all of them.
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
                         Extent extent, const Progress &progress,
                         const std::set<int> &untaggedAt) const
{
    Actual actual;
    actual.kernel = readKernel(place);
    if (actual.kernel.held)
        actual.foreign = setForeignApart(*actual.kernel.held, target.kernel,
                                         snapshot.database().rows(vlanTableName), rows.file());
    actual.tools = readFailedTools();
    std::set<int> ids = moreIds;
    if (actual.kernel.held)
        for (const auto &[name, sub] : actual.kernel.held->interfaces)
            if (extent == Extent::whole || !target.vlanIds.contains(sub.vlanId))
                ids.insert(sub.vlanId);
    if (extent == Extent::whole)
        ids.insert(target.vlanIds.begin(), target.vlanIds.end());
    for (const Device *device : devices()) {
        const std::optional<std::string> node = nodeOf(snapshot.database(), *device);
        DeviceReading &reading = actual.devices[*device];
        if (!node && device->hasQuery)
            reading.held = device->nothing(); // no such switch, so nothing to read
        else
            reading = device->read({.site = place,
                                    .node = node.value_or(""),
                                    .ports = portsOf(snapshot.database(), *device),
                                    .ids = ids,
                                    .whole = extent == Extent::whole,
                                    .untaggedAt = untaggedAt,
                                    .wanted = target.find(*device),
                                    .tools = actual.tools,
                                    .progress = progress});
    }
    const SentLog sent = readSentLog(actual.tools.held ? "" : actual.tools.reason);
    const bool costly = std::any_of(target.settings.begin(), target.settings.end(),
                                    [](const WantedSetting &setting) { return setting.isCostly; });
    for (const Device *device : devices())
        device->readSettings(sent, costly ? &place : nullptr, actual.of(*device), actual.settings);
    actual.settingsReason = sent.reason;
    return actual;
}

DeviceReading GatewayView::readDevice(const Device &device, const std::string &node,
                                      const std::set<int> &ids)
{
    return device.read({.site = place,
                        .node = node,
                        .ports = portsOf(rows, device),
                        .ids = ids,
                        .whole = false,
                        .untaggedAt = {},
                        .wanted = nullptr,
                        .tools = {},
                        .progress = {}});
}

Target targetOfStart(const GatewayView &gateway, Snapshot &snapshot)
{
    return targetOf(gateway.rehearseStart(snapshot)->finish(), snapshot.database());
}

} // namespace swctl
