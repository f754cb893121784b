// The rules that the engine adds for rows. It is above the chip in the hierarchy: its ports
// are mapped onto the chip's, and it passes its VLAN mode on to the chip.
#include "client/base/port_mask.h"
#include "client/devices/chip/chip.h"
#include "client/devices/engine/engine.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr Rule rules[] = {
    {switchTableName, "vlan-mode-differs", Severity::warning,
     "the chip ends up with a different VLAN mode than its row has",
     "At the end of a start the top switch passes its own vlanEnable on to the chip, overriding "
     "the chip's.",
     "Give both switches the same vlanEnable."},
    {portTableName, "queue-counts-differ", Severity::warning,
     "ports of the engine ask for different numbers of queues",
     "The engine has one number of queues for all its ports, that of the last request. After a "
     "start it is that of the last port in the table that asks for queues.",
     "Give all ports of the engine the same numQueues."},
    {vlanTableName, "shifted-ports", Severity::warning,
     "the engine and the chip carry a VLAN on different ports",
     "The chip takes number n in a list as its port n, but the engine takes it as its port that "
     "is mapped onto port n+1 of the chip.",
     "To have the engine reach port n of the chip, list both n and n-1; leave the row as it is if "
     "the difference is intended."},
};

bool isOntoChip(const std::string &entry)
{
    return entry.starts_with(std::string(chipDevice().name) + ":");
}

// A start ends by applying the top switch, which passes its VLAN mode on.
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
                                  ", the value of switch " + top->name});
}

// The chip's ports that engine ports are mapped onto.
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

// The engine port mapped onto chip port n carries a VLAN if the list has n - 1.
void checkShift(const Configuration &all, std::vector<RowFault> &faults)
{
    const uint32_t reached = reachedPorts(all);
    for (size_t row = 0; row < all.vlans.size(); ++row) {
        const uint32_t members = all.vlans[row].members.mask;
        const uint32_t byChip = members & reached;
        const uint32_t byEngine = members << 1 & reached;
        if (byChip != byEngine)
            faults.push_back({"shifted-ports", &all.vlanTable, row, "",
                              "of the chip ports below the engine, the chip carries it on " +
                                  portListText(byChip) + ", the engine on " +
                                  portListText(byEngine)});
    }
}

void checkQueueCounts(const Configuration &all, std::vector<RowFault> &faults)
{
    std::optional<QueueWish> first;
    for (size_t i = 0; i < all.ports.size(); ++i) {
        const std::optional<QueueWish> wish = queueWishOf(all.portTable.rows[i]);
        if (all.ports[i].owner != engineName || !wish || wish->isUsual())
            continue;
        if (!first)
            first = wish;
        else if (first->queues != wish->queues)
            faults.push_back({"queue-counts-differ", &all.portTable, i, "",
                              "numQueues is " + std::to_string(wish->queues) +
                                  "; an earlier port asks for " + std::to_string(first->queues)});
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
    checkQueueCounts(all, faults);
    checkShift(all, faults);
}

} // namespace swctl
