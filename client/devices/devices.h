// The devices that carry switches out: what the client has to know of each, one row each.
// A switch's name chooses its row, as it chooses the backend in the service.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace swctl {

enum class Backend {
    none, // there is no such device, or a start did not come that far
    chip,
    engine,
    bridge
};

struct Device {
    const char *name; // of the switch
    Backend backend;
    const char *words;       // in a sentence, e.g. "the chip"
    int ports;               // it has the ports 0 to ports - 1
    int firstPort;           // the number from which a row's numPorts counts
    const char *beyondPorts; // what a row for another port leads to, behind a message; ""
    bool hasNode;            // its row has to name a device node
    bool portsAreInterfaces; // each port is the network interface that its row names
    // The ports that lead a VLAN to the host and that its row need not name; null: none.
    uint32_t (*hostPorts)(std::string_view interface, bool inSwitchOnly);
};

std::span<const Device> devices();
const Device *deviceOf(std::string_view switchName); // null: there is none
const Device &deviceOf(Backend backend);             // not for none

inline bool isDevice(std::string_view switchName, Backend backend)
{
    return deviceOf(backend).name == switchName;
}

// The chip's port to the host: of VLANs of the LAN's interface, and of all others.
constexpr const char *chipLanInterface = "eth0";
constexpr int chipLanHostPort = 4;
constexpr int chipHostPort = 0;

// In a VLAN's port list each number is one of the chip, unless there is none.
uint32_t chipHostPorts(std::string_view interface, bool inSwitchOnly);

} // namespace swctl
