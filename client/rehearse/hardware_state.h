// The state of chip, engine and kernel as plain data, either expected, from a rehearsal, or
// actual, as read back.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace swctl {

constexpr int chipPortCount = 5;

// An entry of the chip's VLAN table; bit n is chip port n. An entry with two empty maps is
// indistinguishable from a missing one.
struct ChipVlan {
    uint16_t fwdMap = 0;
    uint16_t untagMap = 0;

    bool operator==(const ChipVlan &) const = default;
    [[nodiscard]] bool empty() const { return fwdMap == 0 && untagMap == 0; }
};

struct PortState {
    uint16_t pvid = 0; // default tag: the VLAN of untagged frames
    uint8_t priority = 0;
    uint8_t cfi = 0;
    uint16_t forwardMap = 0; // port-based VLAN: ports that this one may forward to
    bool linkUp = false;
    std::array<uint8_t, 48> statistics{}; // in the driver's layout
};

struct Chip {
    std::map<int, ChipVlan> vlans; // by VLAN id, without empty entries
    std::array<PortState, chipPortCount> ports{};
};

// A VLAN sub-interface of the kernel.
struct SubInterface {
    std::string parent;
    int vlanId = 0;
    bool up = false;
    std::array<uint8_t, 8> ingress{}; // tag priority to packet priority
    std::array<uint8_t, 16> egress{}; // packet priority to tag priority

    bool operator==(const SubInterface &) const = default;
};

struct Kernel {
    std::map<std::string, SubInterface> interfaces; // by name, e.g. "eth0.10"
    std::set<int> uptimeFiles;                      // VLAN ids with an uptime record from this boot
};

// A part of the state, or why it could not be read.
template <class T>
struct Part {
    std::optional<T> held;
    std::string reason;
};

} // namespace swctl
