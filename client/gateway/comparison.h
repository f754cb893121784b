// Compares what a fresh start from the database would produce with the state of the devices
// and the kernel.
#pragma once

#include "client/devices/device.h"

#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace swctl {

// A value for each device.
template <class T>
class PerDevice {
public:
    T &operator[](const Device &device)
    {
        for (auto &[known, value] : all)
            if (known == &device)
                return value;
        return all.emplace_back(&device, T()).second;
    }

    [[nodiscard]] const T &at(const Device &device) const
    {
        for (const auto &[known, value] : all)
            if (known == &device)
                return value;
        throw std::out_of_range("nothing is known of a device");
    }

    [[nodiscard]] bool empty() const { return all.empty(); }

private:
    std::vector<std::pair<const Device *, T>> all;
};

// What a fresh start would produce.
struct Target {
    PerDevice<StateRef> devices; // all devices; empty if no start was rehearsed
    Kernel kernel;
    std::vector<WantedSetting> settings;
    std::set<int> vlanIds; // in the rows
    int loadStatus = 0;
    std::optional<StoppedAt> stopped;

    [[nodiscard]] const DeviceState *find(const Device &device) const; // null if not rehearsed
    [[nodiscard]] const DeviceState &of(const Device &device) const;   // must be rehearsed
};

// `database` must hold the rows that the rehearsal started from.
Target targetOf(const Rehearsal &rehearsal, Database &database);

struct Actual {
    PerDevice<DeviceReading> devices;
    Part<Kernel> kernel;                         // only the switch manager's own sub-interfaces
    std::map<std::string, SubInterface> foreign; // all others, by name
    Part<FailedTools> tools;
    std::vector<SettingInForce> settings;
    std::string settingsReason; // why others are not known

    [[nodiscard]] const DeviceReading &of(const Device &device) const;

    // What is readable but was not read, each with the reason, e.g. "chip: ...".
    [[nodiscard]] std::vector<std::string> unread() const;
};

// Everything that differs, sorted by VLAN. What was not read does not count as different; the
// caller has to report it as unknown.
std::vector<Difference> differences(const Target &target, const Actual &actual);

// What is known of a wanted setting; null: nothing.
const SettingInForce *inForce(const WantedSetting &wanted, const Actual &actual);

// Settings of which it is not known what is in force: those that the rows ask for, and those
// that somebody tried to change.
struct UnknownSetting {
    const WantedSetting *wanted; // in the target
    std::string reason;
};
std::vector<UnknownSetting> unknownSettings(const Target &target, const Actual &actual);

// "rate limit of engine ports 1, 2: not known: ...", a line for those with the same name and
// reason.
std::vector<std::string> textsOf(const std::vector<UnknownSetting> &unknown);

// The same setting in another target; null: it is not there.
const WantedSetting *sameIn(const Target &target, const WantedSetting &setting);

// The settings of `after` that a running service must be sent after the rows have changed.
std::vector<const WantedSetting *> changedSettings(const Target &before, const Target &after);

// The VLAN ids in the rows.
std::set<int> vlanIdsIn(Database &database);

// The device node or interface in the first switch row for this device; none if it has no row.
std::optional<std::string> nodeOf(Database &database, const Device &device);

// The device's ports, from the rows.
std::vector<DevicePort> portsOf(Database &database, const Device &device);

} // namespace swctl
