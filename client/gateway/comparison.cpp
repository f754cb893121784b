#include "client/gateway/comparison.h"

#include "client/base/number.h"
#include "client/devices/host_links.h"
#include "client/gateway/devices.h"

#include <algorithm>

namespace swctl {

const DeviceState *Target::find(const Device &device) const
{
    return devices.empty() ? nullptr : &of(device);
}

const DeviceState &Target::of(const Device &device) const
{
    return *devices.at(device);
}

Target targetOf(const Rehearsal &rehearsal, Database &database)
{
    Target target;
    for (const Device *device : devices())
        target.devices[*device] = device->wanted(rehearsal, portsOf(database, *device));
    target.kernel = rehearsal.kernel();
    target.vlanIds = vlanIdsIn(database);
    target.loadStatus = rehearsal.loadStatus();
    target.stopped = rehearsal.stoppedAt();
    return target;
}

const DeviceReading &Actual::of(const Device &device) const
{
    return devices.at(device);
}

std::vector<std::string> Actual::unread() const
{
    std::vector<std::string> all;
    for (const Device *device : swctl::devices())
        if (device->hasQuery && !of(*device).held)
            all.push_back(std::string(device->part) + ": " + of(*device).reason);
    if (!kernel.held)
        all.push_back("kernel: " + kernel.reason);
    return all;
}

std::vector<Difference> differences(const Target &target, const Actual &actual)
{
    std::vector<Difference> all;
    for (const Device *device : devices())
        if (const DeviceReading &reading = actual.of(*device); reading.held)
            device->compare(target.of(*device), *reading.held, all);
    if (actual.kernel.held)
        compareKernel(target.kernel, *actual.kernel.held, all);
    for (Difference &difference : all) {
        difference.inRows = target.vlanIds.contains(difference.vlanId);
        if (target.stopped)
            difference.remedy = Remedy::rows;
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const Difference &a, const Difference &b) { return a.vlanId < b.vlanId; });
    return all;
}

std::set<int> vlanIdsIn(Database &database)
{
    std::set<int> ids;
    for (const Row &row : database.rows(vlanTableName))
        ids.insert(toInt(row.text("vlanId")));
    return ids;
}

std::optional<std::string> nodeOf(Database &database, const Device &device)
{
    for (const Row &row : database.rows(switchTableName))
        if (row.text("switchName") == device.name)
            return row.text("switchDevice");
    return std::nullopt;
}

std::vector<DevicePort> portsOf(Database &database, const Device &device)
{
    std::vector<DevicePort> ports;
    for (const Row &row : database.rows(portTableName))
        if (row.text("switchName") == device.name)
            ports.push_back({toInt(row.text("portNumber")), row.text("interfaceName")});
    return ports;
}

} // namespace swctl
