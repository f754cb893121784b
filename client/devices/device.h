// What the client needs from a device that implements a switch. Each device implements this
// interface in its own folder; client/gateway/devices.cpp lists them, and all other code
// iterates over that list.
#pragma once

#include "client/devices/difference.h"
#include "client/devices/failed_tools.h"
#include "client/devices/frame_fate.h"
#include "client/devices/settings.h"
#include "client/devices/site.h"
#include "client/rehearse/rehearsal.h"
#include "client/rows/check_rows.h"
#include "client/rows/rule.h"
#include "common/json.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace swctl {

// Called periodically while VLANs are read.
using Progress = std::function<void(size_t done, size_t all)>;

// A port of a switch, as described by its row.
struct DevicePort {
    int32_t number = 0;
    std::string interfaceName; // empty: none
};

// A VLAN's ports by number; bit n stands for port n.
struct VlanEntry {
    uint32_t members = 0;
    uint32_t untagged = 0;
    uint32_t host = 0; // ports towards the host, if the device itself knows them

    [[nodiscard]] bool empty() const { return members == 0 && untagged == 0; }
};

// How a VLAN's frames reach the host.
struct HostSide {
    std::string text;      // "from chip ports 1T 2U, through 0T"; empty: not through this device
    std::string ports;     // "1T 2U"; empty: its ports have no numbers
    std::string hostPorts; // "0T"
};

// A device's VLAN state: either what a rehearsed start leaves in it, or what was read back.
class DeviceState {
public:
    DeviceState() = default;
    virtual ~DeviceState() = default;
    DeviceState(const DeviceState &) = delete;
    DeviceState &operator=(const DeviceState &) = delete;

    [[nodiscard]] virtual std::string label() const = 0;          // its own name, e.g. "br0"
    [[nodiscard]] virtual std::string vlanText(int id) const = 0; // "1T 2U", "-" for none
    [[nodiscard]] virtual Json vlanJson(int id) const = 0;        // the same, machine-readable
    [[nodiscard]] virtual std::set<int> vlanIds() const = 0;      // VLANs that have an entry
    [[nodiscard]] virtual VlanEntry entry(int /*id*/) const { return {}; }
    // The VLAN of the port's untagged frames; none if there is none or it is unknown.
    [[nodiscard]] virtual std::optional<int> defaultTag(const DevicePort & /*port*/) const
    {
        return std::nullopt;
    }
    [[nodiscard]] virtual HostSide hostSide(int /*id*/, uint32_t /*hostPorts*/) const { return {}; }
};

using StateRef = std::shared_ptr<const DeviceState>;

struct DeviceReading {
    StateRef held;      // null: not read
    std::string reason; // why not; if `held` is set: what it lacks
};

// What to read of a device.
struct ReadOrder {
    const Site &site;
    std::string node;              // switchDevice of its row
    std::vector<DevicePort> ports; // from its rows
    std::set<int> ids;             // VLANs; a device skips ids that it does not support
    bool whole = false;            // also every VLAN of `wanted` and any others found
    std::set<int> untaggedAt;      // ports: also read the VLANs of their untagged frames and
                                   // where frames that arrive there may be forwarded
    const DeviceState *wanted;     // after a fresh start; may be null
    const Part<FailedTools> &tools;
    const Progress &progress;
};

// A question about frames at one port of a switch.
struct PortQuestion {
    DevicePort port;
    int vlanId;
    std::vector<DevicePort> ports;     // of the switch
    std::map<int, uint32_t> hostPorts; // by VLAN id in the rows, from Device::hostPorts
    const DeviceState &wanted;         // after a fresh start
    const DeviceReading &actual;
    const std::vector<Difference> &differences; // of the whole gateway, only those that count
    std::string unknownMode;                    // why it is not known whether 802.1Q is on
};

struct PortAnswer {
    std::string wanted; // the port's membership after a fresh start
    std::string held;   // its membership now: from the device or, if it has no query, the log
    bool read = false;  // `held` was read from the device
    std::string basis;  // what `tagged`, `untagged` and `sends` are based on
    FrameFate tagged;   // of a frame tagged with the VLAN's id
    FrameFate untagged;
    std::string sends;               // how the VLAN's frames leave the port; empty: never
    std::vector<Difference> differs; // that affect these frames
    std::vector<std::string> unread; // readable parts that were not read, each with the reason
    std::string remedyInterface{};   // interface for a VLAN row that would make the port a
                                     // member; empty: it is one, or no row can make it one
};

// What a device needs besides the rows to check them.
struct Surroundings {
    std::optional<std::set<std::string>> interfaces; // that exist; none: unknown
    std::set<std::string> unsupported; // names of devices that this machine does not support
};

// A fault that a device finds in a row.
struct RowFault {
    const char *rule;
    const TableRows *table;
    size_t row;
    std::string subject; // the column, port or mapping at fault; may be empty
    std::string message;
};

struct DeviceFacts {
    const char *name = nullptr;        // of the switch; also selects the backend in the service
    const char *part = nullptr;        // e.g. "chip"; used in difference keys, metrics and JSON
    const char *words = nullptr;       // for use in a sentence, e.g. "the chip"
    const char *preview = nullptr;     // prefix of a VLAN's entry in a preview; null: no entries
    int portCount = 0;                 // ports are 0 to portCount - 1
    int firstPort = 0;                 // number of the first port that a row's numPorts counts
    const char *beyondPorts = nullptr; // added to the message about a row with another port
    bool hasQuery = false;             // its state can be read back
    bool portsAreInterfaces = false;   // each port is the network interface that its row names
    bool takesLists = false;           // the port lists in a VLAN's row refer to its ports
    std::span<const int> commands;     // SW_CMD_* that it accepts in a request
};

class Device : public DeviceFacts {
public:
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    // The ports that connect a VLAN to the host; the VLAN's row need not list them.
    [[nodiscard]] virtual uint32_t hostPorts(std::string_view /*interface*/,
                                             bool /*inSwitchOnly*/) const
    {
        return 0;
    }

    // The state after a rehearsed start. `ports` are those of its rows.
    [[nodiscard]] virtual StateRef wanted(const Rehearsal &start,
                                          const std::vector<DevicePort> &ports) const = 0;
    [[nodiscard]] virtual StateRef nothing() const = 0; // for a configuration without such a switch
    [[nodiscard]] virtual DeviceReading read(const ReadOrder &order) const = 0;

    // States and counters of its ports, in order; none if it has no request for them.
    [[nodiscard]] virtual std::optional<Part<std::vector<PortState>>>
    readPorts(const Site & /*site*/, const std::string & /*node*/) const
    {
        return std::nullopt;
    }

    virtual void compare(const DeviceState &wanted, const DeviceState &actual,
                         std::vector<Difference> &all) const = 0;

    // What its row, the rows of its ports and a start from them ask for.
    virtual void wantSettings(const Rehearsal & /*start*/, const Row & /*own*/,
                              const std::vector<Row> & /*ports*/,
                              std::vector<WantedSetting> & /*all*/) const
    {
    }
    // What is in force, as far as the log or the device tell, and `site`, unless it is null, to
    // look up what is costly.
    virtual void readSettings(const SentLog & /*sent*/, const Site * /*site*/,
                              const DeviceReading & /*reading*/,
                              std::vector<SettingInForce> & /*all*/) const
    {
    }

    // Preview lines for changes at its ports other than VLAN entries.
    virtual void previewPorts(const DeviceState & /*before*/, const DeviceState & /*after*/,
                              std::vector<std::string> & /*lines*/) const
    {
    }

    // Whether two rehearsals leave it with equal settings.
    [[nodiscard]] virtual bool endsAlike(const Rehearsal & /*one*/,
                                         const Rehearsal & /*other*/) const
    {
        return true;
    }

    [[nodiscard]] virtual PortAnswer explain(const PortQuestion &question) const = 0;

    // --- its rows ---------------------------------------------------------------

    [[nodiscard]] virtual std::span<const Rule> rules() const { return {}; }
    [[nodiscard]] virtual std::span<const Guard> guards() const { return {}; }
    virtual void check(const Configuration & /*all*/, const Surroundings & /*where*/,
                       std::vector<RowFault> & /*faults*/) const
    {
    }
    // Checks the port lists of VLANs as lists of its own ports.
    virtual void checkLists(const Configuration & /*all*/, std::vector<RowFault> & /*faults*/) const
    {
    }
    // Whether this machine supports such a switch; none: unknown.
    [[nodiscard]] virtual std::optional<bool> supportedHere() const { return std::nullopt; }
    // The interface that a start creates for the switch; empty: none.
    [[nodiscard]] virtual std::string madeInterface(const Row & /*switchRow*/) const { return {}; }

protected:
    constexpr explicit Device(const DeviceFacts &facts) : DeviceFacts(facts) {}
    ~Device() = default;
};

// --- shared by devices ----------------------------------------------------------

// A VLAN entry in the device that differs from the wanted one.
Difference entryDifference(const Device &device, int vlanId, std::string wanted, std::string found);

// The fate of a frame that enters a VLAN at a numbered port; `reach` is the mask of ports
// that frames from that port may be forwarded to.
FrameFate forwarded(int port, int vlanId, const VlanEntry &entry, uint32_t reach);

// Checks the row's untagged ports below `ports`: each must be in `members`, and must not be
// untagged in an earlier row.
void checkUntagged(const Configuration &all, size_t row, uint32_t members, int ports,
                   std::vector<RowFault> &faults);

} // namespace swctl
