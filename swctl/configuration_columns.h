// The columns of the configuration tables as the command line has them: the option that
// sets one, and its place in lists. The capacities are those of the service's records: a
// longer text would be refused there.
#pragma once

#include "swctl/command.h"
#include "swctl/validate.h"
#include "swmgr/swmgr_client.h"

#include <array>
#include <span>

namespace swctl {

struct ColumnRow {
    const char *column;  // name in the database
    bool number;         // stored as a number, otherwise as text
    const char *heading; // in lists; null: not shown there
    OptionRow option;    // an argument where the column tells rows apart
};

// One table with everything that the commands of its group need.
struct TableRow {
    const char *group; // of its commands
    const char *table; // name in the database
    const char *noun;  // what a row is called, e.g. "VLAN"
    std::span<const ColumnRow> columns;
};

// The options of columns, those of the columns that tell rows apart first.
template <size_t size>
constexpr std::array<OptionRow, size> optionsOf(const ColumnRow (&columns)[size])
{
    std::array<OptionRow, size> options{};
    for (size_t i = 0; i < size; ++i) {
        options[i] = columns[i].option;
        options[i].required = columns[i].option.name[0] != '-';
    }
    return options;
}

// Those that tell rows apart, and the rest.
template <size_t size>
constexpr OptionList keyOf(const std::array<OptionRow, size> &options)
{
    size_t count = 0;
    while (options[count].isArgument())
        ++count;
    return OptionList(options).first(count);
}
template <size_t size>
constexpr OptionList valuesOf(const std::array<OptionRow, size> &options)
{
    return OptionList(options).subspan(keyOf(options).size());
}

// clang-format off
inline constexpr ColumnRow vlanColumns[] = {
    {"vlanId", true, "VLAN", {"ID", "ID", "802.1Q VLAN id, 1 to 4094", decimal<1, 4094>}},
    {"interfaceName", false, "INTERFACE", {"--interface", "NAME", "Linux interface that carries it", interfaceName}},
    {"LogicalIfName", false, "LOGICAL", {"--logical", "NAME", "Logical interface name", textUpTo<63>}},
    {"fwdMap", false, "PORTS", {"--ports", "LIST", "Member ports, e.g. 0,2-4; \"\" for none", portList}},
    {"untagMap", false, "UNTAGGED", {"--untagged", "LIST", "Ports that send the VLAN untagged", portList}},
    {"inSwitchOnly", true, "SWITCH-ONLY", {"--switch-only", "on|off", "Keep the VLAN inside the switches", onOff}},
    {"ingressMap", false, nullptr, {"--ingress-map", "TEXT", "Ingress map, only stored", textUpTo<511>}},
    {"egressMap", false, nullptr, {"--egress-map", "TEXT", "Egress map, only stored", textUpTo<511>}},
};

inline constexpr ColumnRow portColumns[] = {
    {"switchName", false, "SWITCH", {"SWITCH", "SWITCH", "Name of the switch", switchNameText}},
    {"portNumber", true, "PORT", {"PORT", "PORT", "Number of the port, 0 to 31", decimal<0, 31>}},
    {"interfaceName", false, "INTERFACE", {"--interface", "NAME", "Network interface of the port", interfaceName}},
    {"phyDevice", false, "MAPPED TO", {"--map", "LIST", "Lower ports, e.g. BCM:0,BCM:1", portMapping}},
    {"portType", true, nullptr, {"--type", "N", "Kind of port", decimal<0, maxInt>}},
    {"PVID", true, "PVID", {"--pvid", "ID", "VLAN id while none is untagged here", decimal<0, 4094>}},
    {"mirroring", true, nullptr, {"--mirroring", "N", "Port mirroring", decimal<0, maxInt>}},
    {"trustMode", true, "TRUST", {"--trust-mode", "MODE", "QoS trust mode, 0 to 4", decimal<0, SW_TRUST_MODE_COUNT - 1>}},
    {"rateLimit", true, "RATE LIMIT", {"--rate-limit", "KBIT", "Rate limit in kbit/s", decimal<0, maxInt>}},
    {"schedMode", true, "SCHED", {"--sched-mode", "MODE", "Queue scheduling: 0, 1 or 3",
                                  oneOf<SW_SCHED_MODE_CODE_1, SW_SCHED_MODE_CODE_0, SW_SCHED_MODE_CODE_2>}},
    {"numQueues", true, "QUEUES", {"--queues", "N", "Egress queues: 1, 2 or 4", oneOf<1, 2, 4>}},
    {"queue1Weight", true, nullptr, {"--weight1", "W", "Weight of queue 1", decimal<1, maxInt>}},
    {"queue2Weight", true, nullptr, {"--weight2", "W", "Weight of queue 2", decimal<1, maxInt>}},
    {"queue3Weight", true, nullptr, {"--weight3", "W", "Weight of queue 3", decimal<1, maxInt>}},
    {"queue4Weight", true, nullptr, {"--weight4", "W", "Weight of queue 4", decimal<1, maxInt>}},
};

inline constexpr ColumnRow switchColumns[] = {
    {"switchName", false, "SWITCH", {"NAME", "NAME", "PSE, BCM or BRIDGE: the name selects the backend", switchNameText}},
    {"switchLevel", true, "LEVEL", {"--level", "N", "Level; the highest is the top", decimal<0, maxInt>}},
    {"switchDevice", false, "DEVICE", {"--device", "PATH", "Device that the backend drives", textUpTo<127>}},
    {"numPorts", true, "PORTS", {"--ports", "N", "Number of ports", decimal<0, 32>}},
    {"vlanEnable", true, "VLAN", {"--vlan", "on|off", "802.1Q VLAN mode", onOff}},
    {"qosEnable", true, "QOS", {"--qos", "on|off", "QoS", onOff}},
    {"pauseFrameEnable", true, "PAUSE", {"--pause-frames", "on|off", "Pause frames", onOff}},
    {"igmpSnoopingEnable", true, "IGMP", {"--igmp-snooping", "on|off", "IGMP snooping", onOff}},
    {"mldSnoopingEnable", true, "MLD", {"--mld-snooping", "on|off", "MLD snooping", onOff}},
};
// clang-format on

inline constexpr auto vlanOptions = optionsOf(vlanColumns);
inline constexpr auto portOptions = optionsOf(portColumns);
inline constexpr auto switchOptions = optionsOf(switchColumns);

inline constexpr TableRow vlanTable = {"vlan", "vlanEncapIf", "VLAN", vlanColumns};
inline constexpr TableRow portTable = {"port", "swPortConfig", "port", portColumns};
inline constexpr TableRow switchTable = {"switch", "swGlobalCfg", "switch", switchColumns};

} // namespace swctl
