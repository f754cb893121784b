#include "client/gateway/comparison.h"

#include "client/base/number.h"
#include "client/devices/host_links.h"
#include "client/gateway/devices.h"

#include <algorithm>
#include <cstring>

namespace swctl {
namespace {

bool isSame(const WantedSetting &one, const WantedSetting &other)
{
    return std::string_view(one.part) == other.part && std::string_view(one.name) == other.name &&
           one.port == other.port;
}

std::vector<WantedSetting> settingsOf(const Rehearsal &rehearsal, Database &database)
{
    std::vector<WantedSetting> all;
    for (const Row &own : database.rows(switchTableName))
        for (const Device *device : devices()) {
            if (own.text("switchName") != device->name)
                continue;
            std::vector<Row> ports = database.rows(portTableName);
            std::erase_if(ports,
                          [&](const Row &port) { return port.text("switchName") != device->name; });
            device->wantSettings(rehearsal, own, ports, all);
        }
    return all;
}

void compareSettings(const Target &target, const Actual &actual, std::vector<Difference> &all)
{
    for (const WantedSetting &wanted : target.settings) {
        const SettingInForce *held = inForce(wanted, actual);
        if (held == nullptr || !held->unknown.empty() || held->byOthers ||
            held->value == wanted.value)
            continue;
        Difference &difference = all.emplace_back();
        difference.kind = DifferenceKind::setting;
        difference.part = wanted.part;
        difference.port = wanted.port;
        difference.setting = wanted.label();
        difference.wanted = wanted.value;
        difference.found = held->value;
        difference.source = held->source;
        difference.everyVlan = wanted.name == std::string_view(vlanModeName);
        difference.remedy = wanted.requests.empty() ? Remedy::restart : Remedy::repair;
    }
}

} // namespace

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
    target.settings = settingsOf(rehearsal, database);
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
    compareSettings(target, actual, all);
    for (Difference &difference : all) {
        difference.inRows = target.vlanIds.contains(difference.vlanId);
        if (target.stopped)
            difference.remedy = Remedy::rows;
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const Difference &a, const Difference &b) { return a.vlanId < b.vlanId; });
    return all;
}

const SettingInForce *inForce(const WantedSetting &wanted, const Actual &actual)
{
    const auto newest = std::find_if(
        actual.settings.rbegin(), actual.settings.rend(), [&](const SettingInForce &one) {
            return std::string_view(one.part) == wanted.part &&
                   std::string_view(one.name) == wanted.name && one.port == wanted.port;
        });
    return newest != actual.settings.rend() ? &*newest : nullptr;
}

std::vector<UnknownSetting> unknownSettings(const Target &target, const Actual &actual)
{
    std::vector<UnknownSetting> all;
    for (const WantedSetting &wanted : target.settings) {
        const SettingInForce *held = inForce(wanted, actual);
        if (held == nullptr ? wanted.asked : !held->unknown.empty())
            all.push_back({&wanted, held != nullptr ? held->unknown : actual.settingsReason});
    }
    return all;
}

std::vector<std::string> textsOf(const std::vector<UnknownSetting> &unknown)
{
    std::vector<std::string> texts;
    for (auto first = unknown.begin(); first != unknown.end(); ++first) {
        const auto isAlike = [&](const UnknownSetting &one) {
            return std::string_view(one.wanted->part) == first->wanted->part &&
                   std::string_view(one.wanted->name) == first->wanted->name &&
                   one.reason == first->reason;
        };
        if (std::find_if(unknown.begin(), first, isAlike) != first)
            continue; // told with an earlier one
        std::string text = first->wanted->label();
        size_t count = 1;
        for (auto other = first + 1; other != unknown.end(); ++other)
            if (isAlike(*other) && ++count > 1)
                text.append(", ").append(std::to_string(other->wanted->port));
        if (count > 1)
            text.replace(text.find(" port "), strlen(" port "), " ports ");
        texts.push_back(text + ": not known: " + first->reason);
    }
    return texts;
}

const WantedSetting *sameIn(const Target &target, const WantedSetting &setting)
{
    const auto found = std::find_if(target.settings.begin(), target.settings.end(),
                                    [&](const WantedSetting &one) { return isSame(one, setting); });
    return found != target.settings.end() ? &*found : nullptr;
}

std::vector<const WantedSetting *> changedSettings(const Target &before, const Target &after)
{
    std::vector<const WantedSetting *> changed;
    for (const WantedSetting &now : after.settings) {
        const WantedSetting *was = sameIn(before, now);
        const bool same =
            was != nullptr
                ? was->value == now.value && was->rounded == now.rounded
                : !now.asked || now.byStart; // its switch or port is new to the service, too
        if (!same)
            changed.push_back(&now);
    }
    return changed;
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
