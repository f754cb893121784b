// The tables of the configuration database. The capacities are
// those of the service's records: a longer text would be refused there.
#include "swctl/configuration_columns.h"

#include "swctl/validate.h"
#include "swmgr/swmgr_client.h"

#include <limits>

namespace swctl {
namespace {

constexpr int64_t maxInt = std::numeric_limits<int32_t>::max();

CLI::Validator vlanId()
{
    return decimal(1, 4094);
}

CLI::Validator pvid()
{
    return decimal(0, 4094);
}

CLI::Validator port()
{
    return decimal(0, 31);
}

CLI::Validator anyNumber()
{
    return decimal(0, maxInt);
}

CLI::Validator portCount()
{
    return decimal(0, 32);
}

CLI::Validator trustMode()
{
    return decimal(0, SW_TRUST_MODE_COUNT - 1);
}

CLI::Validator scheduling()
{
    return oneOf({SW_SCHED_MODE_CODE_1, SW_SCHED_MODE_CODE_0, SW_SCHED_MODE_CODE_2});
}

CLI::Validator queueCount()
{
    return oneOf({1, 2, 4});
}

CLI::Validator weight()
{
    return decimal(1, maxInt);
}

CLI::Validator switchName()
{
    return switchNameText();
}

CLI::Validator text63()
{
    return textUpTo(63);
}

CLI::Validator text127()
{
    return textUpTo(127);
}

CLI::Validator text511()
{
    return textUpTo(511);
}

// clang-format off
constexpr ColumnOption vlanArguments[] = {
    {"ID", "ID", "vlanId", true, vlanId, "802.1Q VLAN id, 1 to 4094"},
};
constexpr ColumnOption vlanOptions[] = {
    {"--interface", "NAME", "interfaceName", false, interfaceName, "Linux interface that carries it"},
    {"--logical", "NAME", "LogicalIfName", false, text63, "Logical interface name"},
    {"--ports", "LIST", "fwdMap", false, portList, "Member ports, e.g. 0,2-4; \"\" for none"},
    {"--untagged", "LIST", "untagMap", false, portList, "Ports that send the VLAN untagged"},
    {"--switch-only", "on|off", "inSwitchOnly", true, onOff, "Keep the VLAN inside the switches"},
    {"--ingress-map", "TEXT", "ingressMap", false, text511, "Ingress map, only stored"},
    {"--egress-map", "TEXT", "egressMap", false, text511, "Egress map, only stored"},
};
constexpr const char *vlanIdentity[] = {"vlanId"};
constexpr ListColumn vlanColumns[] = {
    {"VLAN", "vlanId"}, {"INTERFACE", "interfaceName"}, {"LOGICAL", "LogicalIfName"},
    {"PORTS", "fwdMap"}, {"UNTAGGED", "untagMap"}, {"SWITCH-ONLY", "inSwitchOnly"},
};

constexpr ColumnOption portArguments[] = {
    {"SWITCH", "SWITCH", "switchName", false, switchName, "Name of the switch"},
    {"PORT", "PORT", "portNumber", true, port, "Number of the port, 0 to 31"},
};
constexpr ColumnOption portOptions[] = {
    {"--interface", "NAME", "interfaceName", false, text63, "Network interface of the port"},
    {"--map", "LIST", "phyDevice", false, portMapping, "Lower ports, e.g. BCM:0,BCM:1"},
    {"--type", "N", "portType", true, anyNumber, "Kind of port"},
    {"--pvid", "ID", "PVID", true, pvid, "VLAN id while none is untagged here"},
    {"--mirroring", "N", "mirroring", true, anyNumber, "Port mirroring"},
    {"--trust-mode", "MODE", "trustMode", true, trustMode, "QoS trust mode, 0 to 4"},
    {"--rate-limit", "KBIT", "rateLimit", true, anyNumber, "Rate limit in kbit/s"},
    {"--sched-mode", "MODE", "schedMode", true, scheduling, "Queue scheduling: 0, 1 or 3"},
    {"--queues", "N", "numQueues", true, queueCount, "Egress queues: 1, 2 or 4"},
    {"--weight1", "W", "queue1Weight", true, weight, "Weight of queue 1"},
    {"--weight2", "W", "queue2Weight", true, weight, "Weight of queue 2"},
    {"--weight3", "W", "queue3Weight", true, weight, "Weight of queue 3"},
    {"--weight4", "W", "queue4Weight", true, weight, "Weight of queue 4"},
};
constexpr const char *portIdentity[] = {"switchName", "portNumber"};
constexpr ListColumn portColumns[] = {
    {"SWITCH", "switchName"}, {"PORT", "portNumber"}, {"INTERFACE", "interfaceName"},
    {"MAPPED TO", "phyDevice"}, {"PVID", "PVID"}, {"TRUST", "trustMode"},
    {"RATE LIMIT", "rateLimit"}, {"SCHED", "schedMode"}, {"QUEUES", "numQueues"},
};

constexpr ColumnOption switchArguments[] = {
    {"NAME", "NAME", "switchName", false, switchName, "PSE, BCM or BRIDGE: the name selects the backend"},
};
constexpr ColumnOption switchOptions[] = {
    {"--device", "PATH", "switchDevice", false, text127, "Device that the backend drives"},
    {"--ports", "N", "numPorts", true, portCount, "Number of ports"},
    {"--level", "N", "switchLevel", true, anyNumber, "Level; the highest is the top"},
    {"--vlan", "on|off", "vlanEnable", true, onOff, "802.1Q VLAN mode"},
    {"--qos", "on|off", "qosEnable", true, onOff, "QoS"},
    {"--pause-frames", "on|off", "pauseFrameEnable", true, onOff, "Pause frames"},
    {"--igmp-snooping", "on|off", "igmpSnoopingEnable", true, onOff, "IGMP snooping"},
    {"--mld-snooping", "on|off", "mldSnoopingEnable", true, onOff, "MLD snooping"},
};
constexpr const char *switchIdentity[] = {"switchName"};
constexpr ListColumn switchColumns[] = {
    {"SWITCH", "switchName"}, {"LEVEL", "switchLevel"}, {"DEVICE", "switchDevice"},
    {"PORTS", "numPorts"}, {"VLAN", "vlanEnable"}, {"QOS", "qosEnable"},
    {"PAUSE", "pauseFrameEnable"}, {"IGMP", "igmpSnoopingEnable"}, {"MLD", "mldSnoopingEnable"},
};
// clang-format on

} // namespace

const TableCommands vlanTable = {"vlanEncapIf", "VLAN",      vlanIdentity,
                                 vlanArguments, vlanOptions, vlanColumns};
const TableCommands portTable = {"swPortConfig", "port",      portIdentity,
                                 portArguments,  portOptions, portColumns};
const TableCommands switchTable = {"swGlobalCfg",   "switch",      switchIdentity,
                                   switchArguments, switchOptions, switchColumns};

} // namespace swctl
