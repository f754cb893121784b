// The packet switch engine: tools write its tables, and none of them reads an entry back.
// What is known of it is what a start gives it, and which tools failed.
#pragma once

#include "client/devices/device.h"
#include "client/devices/engine/pause_registers.h"

#include <map>
#include <span>
#include <vector>

namespace swctl {

// The switch that commands go to unless another one is named: it hands them down.
constexpr const char *engineName = "PSE";

const Device &engineDevice();

// What a start gives it.
struct EngineState final : DeviceState {
    struct Vlan {
        uint32_t members = 0;
        uint32_t tagged = 0; // of them those that send tags
        uint32_t host = 0;   // ports that lead to the host's address
    };

    [[nodiscard]] std::string label() const override;
    [[nodiscard]] std::string vlanText(int id) const override;
    [[nodiscard]] Json vlanJson(int id) const override;
    [[nodiscard]] std::set<int> vlanIds() const override;
    [[nodiscard]] VlanEntry entry(int id) const override;
    [[nodiscard]] Vlan vlanOf(int id) const;

    std::map<int, Vlan> vlans;
    bool pausesSet = false; // the start set its pause frames
    PauseRegisters pauses{};
};

// What the log says of it.
struct EngineLog final : DeviceState {
    [[nodiscard]] std::string label() const override;
    [[nodiscard]] std::string vlanText(int id) const override;
    [[nodiscard]] Json vlanJson(int id) const override;
    [[nodiscard]] std::set<int> vlanIds() const override;

    std::map<int, std::vector<std::string>> failed; // lines, by VLAN
};

void checkEngineRows(const Configuration &all, std::vector<RowFault> &faults);
std::span<const Rule> engineRules();

} // namespace swctl
