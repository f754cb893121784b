// The gateway that a command works on: its database, what a fresh start from it would
// produce, and the gateway's actual state.
#pragma once

#include "client/devices/site.h"
#include "client/gateway/comparison.h"
#include "client/rows/database.h"
#include "client/rows/snapshot.h"

#include <memory>
#include <set>
#include <string>

namespace swctl {

class GatewayView {
public:
    // `explicitSite` may be empty.
    GatewayView(Database opened, const std::string &explicitSite);

    [[nodiscard]] Database &database() { return rows; }
    [[nodiscard]] const std::string &databasePath() const { return rows.file(); }
    [[nodiscard]] const std::string &siteFile() const { return given; } // as passed in
    [[nodiscard]] const Interfaces &interfaces() const { return known; }
    [[nodiscard]] const Site &site() const { return place; }

    // Starts to rehearse a fresh start from the database as of `snapshot`.
    std::unique_ptr<RunningRehearsal> rehearseStart(Snapshot &snapshot) const;

    // A script for that start, to which requests can be added.
    [[nodiscard]] Script startScript(Snapshot &snapshot) const;

    // Which VLANs are read from the devices' tables.
    enum class Extent {
        whole,  // those in the target, of sub-interfaces, and `moreIds`
        touched // `moreIds`, and those of sub-interfaces that no row has
    };

    // Reads the kernel, the log and, to that extent, the devices; their nodes and ports come
    // from `snapshot`. For the ports in `untaggedAt`, also reads the VLAN of their untagged
    // frames and where frames from them may be forwarded.
    Actual read(Snapshot &snapshot, const Target &target, const std::set<int> &moreIds,
                Extent extent, const Progress &progress = {},
                const std::set<int> &untaggedAt = {}) const;

    // Reads these VLANs from the device at `node`.
    [[nodiscard]] DeviceReading readDevice(const Device &device, const std::string &node,
                                           const std::set<int> &ids);

private:
    Database rows;
    std::string given;
    Site place;
    Interfaces known;
};

// What a fresh start from these rows would produce.
Target targetOfStart(const GatewayView &gateway, Snapshot &snapshot);

} // namespace swctl
