// The packet switch engine. Its tables are written by tools, none of which can read an entry
// back. All that is known is what a start writes and which tools failed.
#pragma once

#include "client/devices/device.h"

#include <map>
#include <span>
#include <vector>

namespace swctl {

// The default target of switch commands; it passes them on to the switches below.
constexpr const char *engineName = "PSE";
constexpr const char *enginePart = "engine";

const Device &engineDevice();

// The state after a start.
struct EngineState final : DeviceState {
    struct Vlan {
        uint32_t members = 0;
        uint32_t tagged = 0; // members that send it tagged
        uint32_t host = 0;   // ports that lead to the host's MAC address
    };

    [[nodiscard]] std::string label() const override;
    [[nodiscard]] std::string vlanText(int id) const override;
    [[nodiscard]] Json vlanJson(int id) const override;
    [[nodiscard]] std::set<int> vlanIds() const override;
    [[nodiscard]] VlanEntry entry(int id) const override;
    [[nodiscard]] Vlan vlanOf(int id) const;

    std::map<int, Vlan> vlans;
};

// What is known of it from the log.
struct EngineLog final : DeviceState {
    [[nodiscard]] std::string label() const override;
    [[nodiscard]] std::string vlanText(int id) const override;
    [[nodiscard]] Json vlanJson(int id) const override;
    [[nodiscard]] std::set<int> vlanIds() const override;

    std::map<int, std::vector<std::string>> failed; // command lines, by VLAN
};

void wantEngineSettings(const Rehearsal &start, const std::vector<Row> &ports,
                        std::vector<WantedSetting> &all);
void readEngineSettings(const SentLog &sent, const Site *site, std::vector<SettingInForce> &all);
void checkEngineRows(const Configuration &all, std::vector<RowFault> &faults);
std::span<const Rule> engineRules();

} // namespace swctl
