// What the engine asks of rows. It stands over the chip: its ports are mapped onto the
// chip's, and it hands its VLAN mode down.
#include "client/base/port_mask.h"
#include "client/devices/chip/chip.h"
#include "client/devices/engine/engine.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr Rule rules[] = {
    {switchTableName, "vlan-mode-differs", Severity::warning,
     "the chip gets another VLAN mode than its row says",
     "The top switch hands its own vlanEnable down at the end of a start, after the chip's own.",
     "Give both switches the same vlanEnable."},
    {vlanTableName, "shifted-ports", Severity::warning,
     "engine and chip carry a VLAN at different ports",
     "Number n of a list is port n to the chip, while the engine takes it for its port that is "
     "mapped onto port n+1 of the chip.",
     "Put both n and n-1 into the list for a port n of the chip that the engine shall reach, or "
     "leave it where the difference is meant."},
};

// Whether a mapping is onto a port of the chip.
bool isOntoChip(const std::string &entry)
{
    return entry.starts_with(std::string(chipDevice().name) + ":");
}

// The end of a start applies the top switch, which hands its VLAN mode down.
void checkVlanMode(const Configuration &all, std::vector<RowFault> &faults)
{
    const SwitchRow *top = nullptr;
    for (const SwitchRow &sw : all.switches)
        if (top == nullptr || sw.level > top->level)
            top = &sw;
    if (top == nullptr || top->name != engineName)
        return;
    const bool handsDown = std::any_of(all.ports.begin(), all.ports.end(), [](const PortRow &port) {
        return port.owner == engineName &&
               std::any_of(port.mapping.begin(), port.mapping.end(), isOntoChip);
    });
    for (size_t i = 0; i < all.switches.size() && handsDown; ++i)
        if (all.switches[i].name == chipDevice().name &&
            all.switches[i].vlanEnable != top->vlanEnable)
            faults.push_back({"vlan-mode-differs", &all.switchTable, i, "",
                              "vlanEnable is " + std::to_string(all.switches[i].vlanEnable) +
                                  "; the chip ends up with " + std::to_string(top->vlanEnable) +
                                  " of switch " + top->name});
}

// Ports of the chip that the engine's ports are mapped onto.
uint32_t reachedPorts(const Configuration &all)
{
    uint32_t reached = 0;
    for (const PortRow &port : all.ports) {
        if (port.owner != engineName)
            continue;
        for (const std::string &entry : port.mapping)
            for (int below = 0; below < chipDevice().portCount; ++below)
                if (entryAsRead(entry) ==
                    std::string(chipDevice().name) + ":" + std::to_string(below))
                    reached |= portBit(below);
    }
    return reached;
}

// The engine's port above chip port n carries a VLAN when the list has n - 1.
void checkShift(const Configuration &all, std::vector<RowFault> &faults)
{
    const uint32_t reached = reachedPorts(all);
    for (size_t row = 0; row < all.vlans.size(); ++row) {
        const uint32_t members = all.vlans[row].members.mask;
        const uint32_t byChip = members & reached;
        const uint32_t byEngine = members << 1 & reached;
        if (byChip != byEngine)
            faults.push_back({"shifted-ports", &all.vlanTable, row, "",
                              "of the chip ports below the engine, the chip carries it at " +
                                  portListText(byChip) + ", the engine above " +
                                  portListText(byEngine)});
    }
}

} // namespace

std::span<const Rule> engineRules()
{
    return rules;
}

void checkEngineRows(const Configuration &all, std::vector<RowFault> &faults)
{
    checkVlanMode(all, faults);
    checkShift(all, faults);
}

} // namespace swctl
