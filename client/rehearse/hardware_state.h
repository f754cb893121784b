// What chip, engine and kernel hold, as plain data: by a rehearsal, as it should
// be, and by reading back, as it is.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace swctl {

constexpr int chipPortCount = 5;

// An entry of the chip's VLAN table: bit n stands for chip port n. An entry with
// two empty maps cannot be told from one that is not there.
struct ChipVlan {
    uint16_t fwdMap = 0;
    uint16_t untagMap = 0;

    bool operator==(const ChipVlan &) const = default;
    [[nodiscard]] bool empty() const { return fwdMap == 0 && untagMap == 0; }
};

struct PortState {
    uint16_t pvid = 0; // default tag: VLAN of untagged frames
    uint8_t priority = 0;
    uint8_t cfi = 0;
    uint16_t forwardMap = 0; // port-based VLAN: ports that this one may forward to
    bool linkUp = false;
    std::array<uint8_t, 48> statistics{}; // as the driver lays them out
};

struct Chip {
    std::map<int, ChipVlan> vlans; // by VLAN id; entries that are not empty
    std::array<PortState, chipPortCount> ports{};
};

// A VLAN sub-interface of the kernel.
struct SubInterface {
    std::string parent;
    int vlanId = 0;
    bool up = false;
    std::array<uint8_t, 8> ingress{}; // priority in the tag to priority of the packet
    std::array<uint8_t, 16> egress{}; // priority of the packet to priority in the tag

    bool operator==(const SubInterface &) const = default;
};

struct Kernel {
    std::map<std::string, SubInterface> interfaces; // by name, as "eth0.10"
    std::set<int> uptimeFiles;                      // VLAN ids with an uptime record of this boot
};

// A part of the state that was read, or why it was not.
template <class T>
struct Part {
    std::optional<T> held;
    std::string reason;
};

} // namespace swctl
