// The five-port switch chip. It has its own VLAN table, which its driver can read back entry
// by entry.
#pragma once

#include "client/devices/device.h"

namespace swctl {

const Device &chipDevice();

constexpr const char *chipPart = "chip";

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

    // Set only for a rehearsed start, because the driver cannot report them:
    bool run = false;                                // the start reached the chip
    bool vlanMode = false;                           // 802.1Q is on
    std::array<bool, chipPortCount> takesUntagged{}; // the port is untagged in some VLAN
    std::array<bool, chipPortCount> tagsAlone{};     // untagged frames are dropped
};

// The chip's entry for a VLAN; empty if it has none.
ChipVlan entryOf(const Chip &chip, int vlanId);

std::string membersText(const ChipVlan &vlan);

// The host port: for VLANs on the LAN's interface, and for all others.
constexpr const char *chipLanInterface = "eth0";
constexpr int chipLanHostPort = 4;
constexpr int chipHostPort = 0;

PortAnswer explainChipPort(const PortQuestion &question);
void checkChipRows(const Configuration &all, std::vector<RowFault> &faults);
void checkChipLists(const Configuration &all, std::vector<RowFault> &faults);
std::span<const Rule> chipRules();
std::span<const Guard> chipGuards();

} // namespace swctl
