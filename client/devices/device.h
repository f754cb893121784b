// What the client has to know of a device that carries a switch out. Each device is one
// implementation of this interface in a folder of its own; client/gateway/devices.cpp
// lists them, and everything else walks that list.
#pragma once

#include "client/devices/difference.h"
#include "client/devices/failed_tools.h"
#include "client/devices/frame_fate.h"
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

// Called now and then with how many VLANs of how many have been read.
using Progress = std::function<void(size_t done, size_t all)>;

// A port of a switch, as its row has it.
struct DevicePort {
    int32_t number = 0;
    std::string interfaceName; // empty: none
};

// A VLAN's ports by number; bit n stands for port n.
struct VlanEntry {
    uint32_t members = 0;
    uint32_t untagged = 0;
    uint32_t host = 0; // ports that lead to the host, as far as the device itself knows

    [[nodiscard]] bool empty() const { return members == 0 && untagged == 0; }
};

// How a VLAN's frames get to the host.
struct HostSide {
    std::string text;      // "from chip ports 1T 2U, through 0T"; empty: not by this device
    std::string ports;     // "1T 2U"; empty: its ports have no numbers
    std::string hostPorts; // "0T"
};

// What one device holds of VLANs: what a rehearsed start leaves in it, or what was read.
class DeviceState {
public:
    DeviceState() = default;
    virtual ~DeviceState() = default;
    DeviceState(const DeviceState &) = delete;
    DeviceState &operator=(const DeviceState &) = delete;

    [[nodiscard]] virtual std::string label() const = 0;          // its own name, as "br0"
    [[nodiscard]] virtual std::string vlanText(int id) const = 0; // "1T 2U", "-" for none
    [[nodiscard]] virtual Json vlanJson(int id) const = 0;        // the same for programs
    [[nodiscard]] virtual std::set<int> vlanIds() const = 0;      // that it has entries of
    [[nodiscard]] virtual VlanEntry entry(int /*id*/) const { return {}; }
    // The VLAN of the port's untagged frames; none where it has none, or cannot be known.
    [[nodiscard]] virtual std::optional<int> defaultTag(const DevicePort & /*port*/) const
    {
        return std::nullopt;
    }
    [[nodiscard]] virtual HostSide hostSide(int /*id*/, uint32_t /*hostPorts*/) const { return {}; }
};

using StateRef = std::shared_ptr<const DeviceState>;

struct DeviceReading {
    StateRef held;      // null: it was not read
    std::string reason; // why; next to what was read: what is missing in it
};

// What to read of a device.
struct ReadOrder {
    const Site &site;
    std::string node;              // switchDevice of its row
    std::vector<DevicePort> ports; // of its rows
    std::set<int> ids;             // VLANs; each device leaves out what it cannot have
    bool whole = false;            // every VLAN of `wanted` as well, and all that can be found
    std::set<int> untaggedAt;      // the VLANs of untagged frames at these ports as well, and
                                   // where frames that arrive there may go
    const DeviceState *wanted;     // by a fresh start; may be null
    const Part<FailedTools> &tools;
    const Progress &progress;
};

// What is asked about frames at one port of a switch.
struct PortQuestion {
    DevicePort port;
    int vlanId;
    std::vector<DevicePort> ports;     // of the switch
    std::map<int, uint32_t> hostPorts; // by VLAN of the rows, of Device::hostPorts
    const DeviceState &wanted;         // by a fresh start
    const DeviceReading &actual;
    const std::vector<Difference> &differences; // of the gateway, those that count
};

struct PortAnswer {
    std::string wanted; // how the port takes part, by a fresh start
    std::string held;   // by the device itself or, where it has no query, by the log
    bool read = false;  // `held` was read from the device
    std::string basis;  // what the next three are judged by
    FrameFate tagged;   // of a frame with the VLAN's id
    FrameFate untagged;
    std::string sends;               // how the VLAN's frames leave the port; empty: never
    std::vector<Difference> differs; // that touch them
    std::vector<std::string> unread; // parts that might have been, and why they were not
    std::string remedyInterface{};   // the interface of a row that gives the port the VLAN;
                                     // empty: it is a member, or a row does not do it
};

// Rows as a device checks them, and where they are to work.
struct Surroundings {
    std::optional<std::set<std::string>> interfaces; // that exist; none: not looked up
    std::set<std::string> unsupported;               // names of devices that the machine lacks
};

// What a device finds in the rows.
struct RowFault {
    const char *rule;
    const TableRows *table;
    size_t row;
    std::string subject; // what in the row, as a column, a port or a mapping; may be empty
    std::string message;
};

struct DeviceFacts {
    const char *name;        // of the switch; it selects the backend in the service, too
    const char *part;        // "chip": in keys of differences, metrics and JSON
    const char *words;       // in a sentence, e.g. "the chip"
    const char *preview;     // what stands before a VLAN's entry in a preview; null: no entries
    int portCount;           // it has the ports 0 to portCount - 1
    int firstPort;           // the number from which a row's numPorts counts
    const char *beyondPorts; // what a row for another port leads to, behind a message; ""
    bool hasQuery;           // it can be asked what it holds
    bool portsAreInterfaces; // each port is the network interface that its row names
    bool takesLists;         // the port lists of a VLAN's row name its ports
    std::span<const int> commands; // SW_CMD_* that it takes by a request
};

class Device : public DeviceFacts {
public:
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    // The ports that lead a VLAN to the host and that its row need not name.
    [[nodiscard]] virtual uint32_t hostPorts(std::string_view /*interface*/,
                                             bool /*inSwitchOnly*/) const
    {
        return 0;
    }

    // What a start leaves in it. `ports` are those of its rows.
    [[nodiscard]] virtual StateRef wanted(const Rehearsal &start,
                                          const std::vector<DevicePort> &ports) const = 0;
    [[nodiscard]] virtual StateRef nothing() const = 0; // what it holds where no switch is one
    [[nodiscard]] virtual DeviceReading read(const ReadOrder &order) const = 0;

    // States and counters of its ports, in order; none: it has no request for them.
    [[nodiscard]] virtual std::optional<Part<std::vector<PortState>>>
    readPorts(const Site & /*site*/, const std::string & /*node*/) const
    {
        return std::nullopt;
    }

    virtual void compare(const DeviceState &wanted, const DeviceState &actual,
                         std::vector<Difference> &all) const = 0;

    // Settings that are otherwise than after a start and touch no VLAN's frames. `unread`
    // gets what could not be read, and why.
    virtual void compareIdle(const DeviceState & /*wanted*/, const Site & /*site*/,
                             std::vector<Difference> & /*all*/, std::string & /*unread*/) const
    {
    }

    // What changes at its ports apart from entries, as lines of a preview.
    virtual void previewPorts(const DeviceState & /*before*/, const DeviceState & /*after*/,
                              std::vector<std::string> & /*lines*/) const
    {
    }

    // Whether two courses of the service leave it with equal settings.
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
    // The port lists of VLANs as lists of its ports.
    virtual void checkLists(const Configuration & /*all*/, std::vector<RowFault> & /*faults*/) const
    {
    }
    // Whether this machine can carry such a switch out; none: not known.
    [[nodiscard]] virtual std::optional<bool> supportedHere() const { return std::nullopt; }
    // The interface that a start makes for the switch; empty: none.
    [[nodiscard]] virtual std::string madeInterface(const Row & /*switchRow*/) const { return {}; }

protected:
    constexpr explicit Device(const DeviceFacts &facts) : DeviceFacts(facts) {}
    ~Device() = default;
};

// --- shared by devices ----------------------------------------------------------

// An entry of a VLAN in the device that is otherwise than wanted.
Difference entryDifference(const Device &device, int vlanId, std::string wanted, std::string found);

// A frame that gets into a VLAN at a port of a device whose ports have numbers; `reach` has
// the ports that frames from there may go to.
FrameFate forwarded(int port, int vlanId, const VlanEntry &entry, uint32_t reach);

// A VLAN's port in both lists of its row, held against the rows of `ports`.
void checkUntagged(const Configuration &all, size_t row, uint32_t members, int ports,
                   std::vector<RowFault> &faults);

} // namespace swctl
