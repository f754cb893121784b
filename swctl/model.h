// What the configuration database says, decoded as the service decodes it, and
// the membership that follows from it for every port of every switch: what a
// start of the service from this database programs.
#pragma once

#include "swctl/database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace swctl {

struct PortConfig {
    struct Mapping {
        std::string switchName; // a lower switch
        int32_t port;           // port of that switch
    };

    int32_t number = 0;
    int32_t pvid = 0;            // as the row says
    std::string interfaceName;   // empty: none
    std::vector<Mapping> mapped; // in the order of the row
};

// The device behind a switch, which decides how the masks are read.
enum class Backend {
    chip,   // BCM
    engine, // PSE
    unknown
};

struct SwitchConfig {
    std::string name;
    std::string device; // empty: none
    Backend backend = Backend::unknown;
    int32_t level = 0; // the highest is the top-level switch
    bool vlanEnabled = false;
    bool qosEnabled = false;
    std::vector<PortConfig> ports; // in the order of the rows
};

struct VlanConfig {
    int32_t id = 0;
    std::string interfaceName; // Linux interface
    std::string logicalName;
    uint32_t members = 0;  // port mask
    uint32_t untagged = 0; // port mask
    bool switchOnly = false;
};

struct Model {
    std::vector<SwitchConfig> switches; // highest level first
    std::vector<VlanConfig> vlans;      // in the order of the rows
    std::vector<std::string> notes;     // what the service will not take as it stands
};

// How one port takes part in one VLAN.
struct Cell {
    bool member = false;
    bool untagged = false; // of a member: sent without tag
    bool cpu = false;      // the port through which the VLAN reaches the host
};

struct PortColumn {
    const SwitchConfig *owner;
    int32_t port;
    std::optional<int32_t> pvid; // none for a port whose backend sets no PVID
};

struct Matrix {
    std::vector<PortColumn> columns;      // switch by switch
    std::vector<std::vector<Cell>> lines; // one per VLAN, one cell per column
};

Model readModel(Database &database);
Matrix membership(const Model &model);

} // namespace swctl
