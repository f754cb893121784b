// The tables of the configuration database and their columns, one entry each: what a column
// holds, how it is given on the command line and what it is called in lists. Options and their
// help, checks, triggers, the database and JSON schemas, and lists are all derived from these
// entries. The service's own decoder is in src/store/decode.cpp.
#pragma once

#include "client/base/number.h"

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

namespace swctl {

constexpr int fileVersion = 1; // of configuration files

constexpr const char *switchTableName = "swGlobalCfg";
constexpr const char *portTableName = "swPortConfig";
constexpr const char *vlanTableName = "vlanEncapIf";

constexpr int portListBits = 32;      // a list may name ports 0 to 31
constexpr int64_t mostRate = 1300480; // kbit/s, 127 times the engine limiter's coarsest step

struct Table {
    const char *name;    // in the database
    const char *noun;    // for one row, e.g. "VLAN"
    const char *list;    // for the rows in a JSON configuration, e.g. "vlans"
    const char *comment; // in the schema
};

enum class Holds {
    number,
    flag,          // 0 or 1, written as on or off
    text,          // any text
    switchName,    // text without ":" and ","
    interface,     // text that ends up in command lines
    portInterface, // text that ends up in command lines if the switch is a bridge
    portList,      // comma-separated port numbers
    mapping        // comma-separated SWITCH:PORT entries
};

// The effect of a number outside the column's range.
enum class Outside {
    refused,    // the service or a device refuses it, or does something else
    misleading, // the row has no effect, contrary to what it says
    passed,     // harmless: it is only stored, or any number but 0 counts as on
    ruled       // covered by a separate rule
};

struct Column {
    const char *table;
    const char *name;
    Holds holds;
    int64_t least;         // of a number
    int64_t most;          // of a number; of a text: bytes that fit in the service's record
    int64_t gap;           // a number in the range that is not accepted; noGap if there is none
    Outside outside;       // for numbers and flags
    bool needed;           // without this column the rows are meaningless
    const char *standard;  // DEFAULT in the schema; "": none
    const char *option;    // "--ports"; without dashes it is an argument that identifies the row
    const char *valueName; // the value as shown in help, e.g. "LIST"
    const char *heading;   // in lists; "": not listed
    const char *help;      // of the option, without a full stop at the end
    const char *comment;   // in the schema

    static constexpr int64_t noGap = -1;

    [[nodiscard]] constexpr bool isNumber() const
    {
        return holds == Holds::number || holds == Holds::flag;
    }
    [[nodiscard]] constexpr bool isIdentity() const { return option[0] != '-'; }
    [[nodiscard]] constexpr bool accepts(int64_t value) const
    {
        return value >= least && value <= most && value != gap;
    }
    // In a configuration file: the word of its option, as "rateLimit".
    [[nodiscard]] std::string fileName() const;
    // The accepted numbers as text: "0 to 4094", "0, 1 and 3", "1 and more".
    [[nodiscard]] std::string values() const;
};

// To add a column, add an entry here and one in src/store/decode.cpp. The order within a table
// is the order of options, lists and the schema.
namespace column_rows {

constexpr int64_t maxInt = std::numeric_limits<int32_t>::max();
constexpr int64_t noGap = Column::noGap;
constexpr auto refused = Outside::refused;
constexpr auto misleading = Outside::misleading;
constexpr auto passed = Outside::passed;
constexpr auto ruled = Outside::ruled;
constexpr auto number = Holds::number;
constexpr auto flag = Holds::flag;
constexpr auto text = Holds::text;

// clang-format off
inline constexpr Column switchColumns[] = {
    {switchTableName, "switchName", Holds::switchName, 0, 63, noGap, passed, true, "",
     "NAME", "NAME", "SWITCH", "PSE, BCM or BRIDGE: the name selects the backend",
     "'PSE', 'BCM' or 'BRIDGE', which names the backend too"},
    {switchTableName, "switchLevel", number, 0, maxInt, noGap, misleading, false, "0",
     "--level", "N", "LEVEL", "Level; the highest is the top",
     "the switch with the highest level is the top one"},
    {switchTableName, "switchDevice", text, 0, 127, noGap, passed, false, "",
     "--device", "PATH", "DEVICE", "Device that the backend drives",
     "device node of the chip, name of a bridge"},
    {switchTableName, "numPorts", number, 0, portListBits, noGap, misleading, false, "0",
     "--ports", "N", "PORTS", "Number of ports", "kept; the rows of the ports count"},
    {switchTableName, "vlanEnable", flag, 0, 1, noGap, refused, false, "0",
     "--vlan", "on|off", "VLAN", "802.1Q VLAN mode", "802.1Q: 0 off, 1 on"},
    {switchTableName, "qosEnable", flag, 0, 1, noGap, refused, false, "0",
     "--qos", "on|off", "QOS", "QoS", "0 off, 1 on"},
    {switchTableName, "pauseFrameEnable", flag, 0, 1, noGap, misleading, false, "0",
     "--pause-frames", "on|off", "PAUSE", "Pause frames", "1 on, otherwise off"},
    {switchTableName, "igmpSnoopingEnable", flag, 0, 1, noGap, misleading, false, "0",
     "--igmp-snooping", "on|off", "IGMP", "IGMP snooping", "0 off, 1 on"},
    {switchTableName, "mldSnoopingEnable", flag, 0, 1, noGap, misleading, false, "0",
     "--mld-snooping", "on|off", "MLD", "MLD snooping", "0 off, 1 on"},
};
inline constexpr Column portColumns[] = {
    {portTableName, "switchName", Holds::switchName, 0, 63, noGap, passed, true, "",
     "SWITCH", "SWITCH", "SWITCH", "Name of the switch", "switch that has the port"},
    {portTableName, "portNumber", number, 0, portListBits - 1, noGap, ruled, true, "",
     "PORT", "PORT", "PORT", "Number of the port, 0 to 31", "number of the port on that switch"},
    {portTableName, "interfaceName", Holds::portInterface, 0, 63, noGap, passed, false, "",
     "--interface", "NAME", "INTERFACE", "Network interface of the port",
     "network interface of the port"},
    {portTableName, "phyDevice", Holds::mapping, 0, 63, noGap, passed, false, "",
     "--map", "LIST", "MAPPED TO", "Lower ports, e.g. BCM:0,BCM:1",
     "mapping, for example 'BCM:3,BCM:4'"},
    {portTableName, "portType", number, 0, maxInt, noGap, passed, false, "0",
     "--type", "N", "", "Kind of port", "kept, not used"},
    {portTableName, "PVID", number, 0, highestVlan, noGap, refused, false, "1",
     "--pvid", "ID", "PVID", "VLAN id used while no VLAN is untagged on the port",
     "unless a VLAN is untagged on the port"},
    {portTableName, "mirroring", number, 0, maxInt, noGap, passed, false, "0",
     "--mirroring", "N", "", "Port mirroring", "kept, not used"},
    {portTableName, "trustMode", number, 0, 4, noGap, refused, false, "0",
     "--trust-mode", "MODE", "TRUST", "QoS trust mode, 0 to 4", "field that decides the priority"},
    {portTableName, "rateLimit", number, 0, mostRate, noGap, misleading, false, "0",
     "--rate-limit", "KBIT", "RATE LIMIT", "Rate limit in kbit/s", "kbit/s"},
    {portTableName, "schedMode", number, 0, 3, 2, misleading, false, "0",
     "--sched-mode", "MODE", "SCHED", "Queue scheduling: 0, 1 or 3", "scheduling of the queues"},
    {portTableName, "numQueues", number, 1, 4, 3, misleading, false, "4",
     "--queues", "N", "QUEUES", "Egress queues: 1, 2 or 4", "egress queues"},
    {portTableName, "queue1Weight", number, 1, maxInt, noGap, misleading, false, "1",
     "--weight1", "W", "", "Weight of queue 1", "share of queue 1"},
    {portTableName, "queue2Weight", number, 1, maxInt, noGap, misleading, false, "1",
     "--weight2", "W", "", "Weight of queue 2", "share of queue 2"},
    {portTableName, "queue3Weight", number, 1, maxInt, noGap, misleading, false, "1",
     "--weight3", "W", "", "Weight of queue 3", "share of queue 3"},
    {portTableName, "queue4Weight", number, 1, maxInt, noGap, misleading, false, "1",
     "--weight4", "W", "", "Weight of queue 4", "share of queue 4"},
};
inline constexpr Column vlanColumns[] = {
    {vlanTableName, "vlanId", number, 1, highestVlan, noGap, ruled, true, "",
     "ID", "ID", "VLAN", "802.1Q VLAN id, 1 to 4094", "802.1Q VLAN id"},
    {vlanTableName, "interfaceName", Holds::interface, 0, 63, noGap, passed, true, "",
     "--interface", "NAME", "INTERFACE", "Linux interface that carries the VLAN",
     "Linux interface of the sub-interface"},
    {vlanTableName, "LogicalIfName", text, 0, 63, noGap, passed, false, "",
     "--logical", "NAME", "LOGICAL", "Logical interface name", "logical interface name"},
    {vlanTableName, "fwdMap", Holds::portList, 0, 511, noGap, passed, true, "",
     "--ports", "LIST", "PORTS", "Member ports, e.g. 0,2-4; \"\" for none",
     "member ports, for example '0,1,2'"},
    {vlanTableName, "untagMap", Holds::portList, 0, 511, noGap, passed, false, "",
     "--untagged", "LIST", "UNTAGGED", "Ports that send the VLAN untagged",
     "ports that send the VLAN untagged"},
    {vlanTableName, "inSwitchOnly", flag, 0, 1, noGap, passed, false, "0",
     "--switch-only", "on|off", "SWITCH-ONLY", "Keep the VLAN inside the switches",
     "not 0: the VLAN stays inside the switches"},
    {vlanTableName, "ingressMap", text, 0, 511, noGap, passed, false, "",
     "--ingress-map", "TEXT", "", "Ingress map, only stored", "carried, not interpreted"},
    {vlanTableName, "egressMap", text, 0, 511, noGap, passed, false, "",
     "--egress-map", "TEXT", "", "Egress map, only stored", "likewise"},
};
// clang-format on

} // namespace column_rows

// When a change of a switch's or port's row takes effect in a running service.
enum class TakesEffect {
    onRequest, // at once: the service has a request for it
    atStart,
    never // the service only keeps it
};
TakesEffect takesEffect(const Column &column);

// In the order in which the service loads them.
std::span<const Table> configurationTables();
const Table &tableOf(std::string_view name); // throws std::out_of_range if unknown

// The columns of a table; empty if the table is unknown.
std::span<const Column> columnsOf(std::string_view table);

// The generated contents of data/schema.sql and data/configuration.schema.json.
std::string databaseSchema();
std::string configurationSchema();

} // namespace swctl
