// The observable state of a gateway, one text per subject, so that two moments can be
// compared.
#pragma once

#include "client/gateway/gateway_view.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace swctl {

// By VLAN, 0 for none, and subject, e.g. "row 3", "chip" or "eth0.30".
using Scene = std::map<std::pair<int, std::string>, std::string>;

struct SceneChange {
    int vlanId = 0; // 0: none
    std::string subject;
    std::string was, is; // empty: absent

    [[nodiscard]] std::string text() const; // "! VLAN 30 chip: 1T 2T -> 1T 2T 3U"
};

// All changes from `before` to `after`, by VLAN.
std::vector<SceneChange> changesBetween(const Scene &before, const Scene &after);

class Watcher {
public:
    explicit Watcher(GatewayView &observed); // not modified

    // Reads the rows, the devices' ports, the sub-interfaces and the service. The devices' VLAN
    // tables, which take ten requests per VLAN on the chip, are read only if `table` is set or
    // they are not known yet; otherwise the last reading is used.
    Scene observe(bool table);

    // Whether another process has written to the database since the last call.
    bool databaseMoved();

private:
    void addRows(Scene &scene);
    void addDevice(Scene &scene, const Device &device, bool table);
    void addKernel(Scene &scene);
    void addService(Scene &scene);
    void addSettings(Scene &scene);

    GatewayView &gateway;
    std::string version;                     // of the database's content
    std::set<int> ids;                       // VLANs seen in rows or sub-interfaces so far
    std::map<const Device *, Scene> entries; // VLAN tables as last read
};

} // namespace swctl
