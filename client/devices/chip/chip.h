// The five-port switch chip: it keeps a VLAN table of its own, and its driver can be asked
// for every entry.
#pragma once

#include "client/devices/device.h"

namespace swctl {

const Device &chipDevice();

struct ChipState final : DeviceState {
    [[nodiscard]] std::string label() const override;
    [[nodiscard]] std::string vlanText(int id) const override;
    [[nodiscard]] Json vlanJson(int id) const override;
    [[nodiscard]] std::set<int> vlanIds() const override;
    [[nodiscard]] VlanEntry entry(int id) const override;
    [[nodiscard]] std::optional<int> defaultTag(const DevicePort &port) const override;
    [[nodiscard]] HostSide hostSide(int id, uint32_t hostPorts) const override;

    Chip chip;
    std::set<int> ids; // VLANs whose entries were read

    // Of a start only, since the driver cannot be asked for them:
    bool run = false;                                // it got as far as the chip
    bool vlanMode = false;                           // 802.1Q is on
    std::array<bool, chipPortCount> takesUntagged{}; // an untagged frame has an effect
    std::array<bool, chipPortCount> tagsAlone{};     // untagged frames are dropped
};

// An empty entry for a VLAN that the chip does not have.
ChipVlan entryOf(const Chip &chip, int vlanId);

std::string membersText(const ChipVlan &vlan);

// The port to the host: of VLANs of the LAN's interface, and of all others.
constexpr const char *chipLanInterface = "eth0";
constexpr int chipLanHostPort = 4;
constexpr int chipHostPort = 0;

PortAnswer explainChipPort(const PortQuestion &question);
void checkChipRows(const Configuration &all, std::vector<RowFault> &faults);
void checkChipLists(const Configuration &all, std::vector<RowFault> &faults);
std::span<const Rule> chipRules();
std::span<const Guard> chipGuards();

} // namespace swctl
