// The gateway that a command works on: its database, what a fresh start from it
// would give, and what it holds.
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
    [[nodiscard]] const std::string &siteFile() const { return given; } // as it was given
    [[nodiscard]] const Interfaces &interfaces() const { return known; }
    [[nodiscard]] const Site &site() const { return place; }

    // Begins to rehearse a fresh start from the database as it is in `snapshot`.
    std::unique_ptr<RunningRehearsal> rehearseStart(Snapshot &snapshot) const;

    // A script that starts from it, to which requests can be added.
    [[nodiscard]] Script startScript(Snapshot &snapshot) const;

    // What of the devices' tables is read.
    enum class Extent {
        whole,  // what the target, a sub-interface or `moreIds` name
        touched // what `moreIds` name, and sub-interfaces that no row has
    };

    // Everything as far as that; of the devices in `snapshot`. Of the ports in `untaggedAt`
    // also what their untagged frames get, and where frames from there may go.
    Actual read(Snapshot &snapshot, const Target &target, const std::set<int> &moreIds,
                Extent extent, const Progress &progress = {},
                const std::set<int> &untaggedAt = {}) const;

    // These VLANs of the device behind `node`.
    [[nodiscard]] DeviceReading readDevice(const Device &device, const std::string &node,
                                           const std::set<int> &ids);

private:
    Database rows;
    std::string given;
    Site place;
    Interfaces known;
};

// What a fresh start from these rows would give.
Target targetOfStart(const GatewayView &gateway, Snapshot &snapshot);

} // namespace swctl
