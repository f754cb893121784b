// The network as described by the database and as a fresh start from it would set it up: the
// rows, and the device state that the rehearsed service produces.
#pragma once

#include "client/gateway/gateway_view.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

struct PortConfig : DevicePort {
    struct Mapping {
        std::string switchName;
        int32_t port; // port of that switch
    };

    std::vector<Mapping> mapped; // in the order of the row
};

struct SwitchConfig {
    std::string name;
    std::string node;               // device node or interface; empty: none
    const Device *device = nullptr; // null if the start did not set it up
    int32_t level = 0;              // the highest is the top-level switch
    bool vlanEnabled = false;
    bool qosEnabled = false;
    std::vector<PortConfig> ports; // in the order of the rows
};

// What a start does with a row.
enum class Fate {
    applied,
    stopsHere,
    missing // the start stopped before it
};

struct VlanConfig {
    int32_t id = 0;
    std::string interfaceName; // Linux interface
    std::string logicalName;
    bool switchOnly = false;
    Fate fate = Fate::missing;
};

// Where a start stops early, and what is missing as a result.
struct Stop {
    std::string table;                // empty: not at a row
    int row = 0;                      // in table order, from 1; 0: not at a row
    std::string name;                 // of the row, e.g. "VLAN 30"
    int status = 0;                   // returned by the service
    std::vector<std::string> reasons; // lines of its log
    std::vector<std::string> missing; // switches and ports, e.g. "port 3 of BCM"
    std::vector<int32_t> vlans;       // not applied
};

// The membership of one port in one VLAN.
struct Cell {
    bool member = false;
    bool untagged = false; // a member that sends untagged
    bool cpu = false;      // the port through which the VLAN reaches the host
};

struct PortColumn {
    size_t owner; // index of the switch
    int32_t port;
    std::optional<int32_t> pvid; // none if the port has no default tag
};

// A setting of which only the log tells what is in force.
struct SentSetting {
    std::string label;  // "rate limit of engine port 1"
    std::string wanted; // by a start and the rows
    std::string held;
    std::string source; // "last sent 2026-01-31 12:00:00"
};

struct Network {
    std::vector<SwitchConfig> switches;   // highest level first
    std::vector<VlanConfig> vlans;        // in the order of the rows
    std::vector<PortColumn> columns;      // switch by switch
    std::vector<std::vector<Cell>> lines; // one per VLAN, one cell per column
    std::vector<SentSetting> sent;        // what is in force now, as far as it is known
    std::optional<Stop> stop;
    std::vector<std::string> notes; // errors in the rows
    size_t warnings = 0;            // about the rows
};

// Where the start from this database stopped early; none if it applied every row.
std::optional<Stop> stopOf(Database &database, const Rehearsal &start);

Network networkOf(GatewayView &gateway);

// The same for an already rehearsed start, without notes about the rows.
Network networkOf(Snapshot &snapshot, const Rehearsal &start, const Target &target);

// The name of the switch that owns a column.
inline const std::string &ownerName(const Network &network, const PortColumn &column)
{
    return network.switches[column.owner].name;
}

// Whether a column is the first of its switch.
bool beginsSwitch(const Network &network, size_t column);

} // namespace swctl
