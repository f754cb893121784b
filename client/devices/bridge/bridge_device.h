// A Linux bridge as a switch: its ports are network interfaces, and all of its state can be
// read from the kernel.
#pragma once

#include "client/devices/bridge/bridge.h"
#include "client/devices/device.h"

#include <set>
#include <span>
#include <vector>

namespace swctl {

const Device &bridgeDevice();

constexpr const char *bridgeSwitch = "BRIDGE";
constexpr const char *bridgePart = "bridge";

struct BridgeState final : DeviceState {
    [[nodiscard]] std::string label() const override;
    [[nodiscard]] std::string vlanText(int id) const override;
    [[nodiscard]] Json vlanJson(int id) const override;
    [[nodiscard]] std::set<int> vlanIds() const override;
    [[nodiscard]] VlanEntry entry(int id) const override;
    [[nodiscard]] std::optional<int> defaultTag(const DevicePort &port) const override;
    [[nodiscard]] HostSide hostSide(int id, uint32_t hostPorts) const override;

    Bridge bridge;
    std::set<int> ids;             // VLANs to compare
    std::vector<DevicePort> ports; // from the rows
};

void wantBridgeSettings(const Bridge &started, const Row &own, const std::vector<Row> &ports,
                        std::vector<WantedSetting> &all);
void readBridgeSettings(const SentLog &sent, const BridgeState &held,
                        std::vector<SettingInForce> &all);
PortAnswer explainBridgePort(const PortQuestion &question);
void checkBridgeRows(const Configuration &all, const Surroundings &where,
                     std::vector<RowFault> &faults);
void checkBridgeLists(const Configuration &all, std::vector<RowFault> &faults);
std::span<const Rule> bridgeRules();
std::span<const Guard> bridgeGuards();

} // namespace swctl
