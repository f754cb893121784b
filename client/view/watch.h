// What there is to be seen of a gateway, as one text for each subject, so that two
// moments can be held against each other.
#pragma once

#include "client/gateway/gateway_view.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace swctl {

// By VLAN, 0 for none, and subject, as "row", "chip" or "eth0.30".
using Scene = std::map<std::pair<int, std::string>, std::string>;

struct SceneChange {
    int vlanId = 0; // 0: none
    std::string subject;
    std::string was, is; // empty: not there

    [[nodiscard]] std::string text() const; // "! VLAN 30 chip: 1T 2T -> 1T 2T 3U"
};

// Everything of `after` that is otherwise than before, by VLAN.
std::vector<SceneChange> changesBetween(const Scene &before, const Scene &after);

class Watcher {
public:
    explicit Watcher(GatewayView &onlyLookedAt);

    // The rows, the ports of devices, sub-interfaces and the service. The devices' VLAN
    // tables, of the chip ten requests for each VLAN, only where `table` says so; else as
    // they were.
    Scene observe(bool table);

    // Whether another process has written to the database since the last call.
    bool databaseMoved();

private:
    void addRows(Scene &scene);
    void addDevice(Scene &scene, const Device &device, bool table);
    void addKernel(Scene &scene);
    void addService(Scene &scene);

    GatewayView &gateway;
    std::string version;                     // of the database's contents
    std::set<int> ids;                       // VLANs that were seen in rows or sub-interfaces
    std::map<const Device *, Scene> entries; // of VLAN tables, as read last
};

} // namespace swctl
