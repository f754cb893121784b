// What a fresh start from the database would give, held against what devices and kernel
// hold.
#pragma once

#include "client/devices/device.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace swctl {

// What a fresh start would give.
struct Target {
    std::map<const Device *, StateRef> devices; // all of them, unless no start was rehearsed
    Kernel kernel;
    std::set<int> vlanIds; // in the rows
    int loadStatus = 0;
    std::optional<StoppedAt> stopped;

    [[nodiscard]] const DeviceState *find(const Device &device) const; // null: not rehearsed
    [[nodiscard]] const DeviceState &of(const Device &device) const;   // of a rehearsed start
};

// `database` has the rows that were started from.
Target targetOf(const Rehearsal &rehearsal, Database &database);

struct Actual {
    std::map<const Device *, DeviceReading> devices;
    Part<Kernel> kernel;                         // without the sub-interfaces of others
    std::map<std::string, SubInterface> foreign; // these, by name
    Part<FailedTools> tools;

    [[nodiscard]] const DeviceReading &of(const Device &device) const;

    // What could be asked and was not read, and why, as "chip: ...".
    [[nodiscard]] std::vector<std::string> unread() const;
};

// Everything that differs, by VLAN and port. What was not read does not differ:
// that it is unknown is the caller's to say.
std::vector<Difference> differences(const Target &target, const Actual &actual);

// The VLAN ids that the rows name.
std::set<int> vlanIdsIn(Database &database);

// The device node or interface of the first switch that is this device; none: no row has one.
std::optional<std::string> nodeOf(Database &database, const Device &device);

// The ports of the rows.
std::vector<DevicePort> portsOf(Database &database, const Device &device);

} // namespace swctl
