#include "client/devices/devices.h"

#include "client/base/port_mask.h"
#include "client/rehearse/hardware_state.h"

#include <stdexcept>

namespace swctl {
namespace {

// A row for each device; the order is that of messages that list them.
constexpr Device table[] = {
    {"BCM", Backend::chip, "the chip", chipPortCount, 0,
     "; no VLAN can be added or changed with this row", /*hasNode=*/true,
     /*portsAreInterfaces=*/false, chipHostPorts},
    {"PSE", Backend::engine, "the engine", 8, 1, "", /*hasNode=*/false,
     /*portsAreInterfaces=*/false, nullptr},
    {"BRIDGE", Backend::bridge, "a bridge", 32, 0, "", /*hasNode=*/false,
     /*portsAreInterfaces=*/true, nullptr},
};

} // namespace

std::span<const Device> devices()
{
    return table;
}

const Device *deviceOf(std::string_view switchName)
{
    for (const Device &device : table)
        if (device.name == switchName)
            return &device;
    return nullptr;
}

const Device &deviceOf(Backend backend)
{
    for (const Device &device : table)
        if (device.backend == backend)
            return device;
    throw std::logic_error("no device carries this backend out");
}

uint32_t chipHostPorts(std::string_view interface, bool inSwitchOnly)
{
    return portBit(interface == chipLanInterface && !inSwitchOnly ? chipLanHostPort : chipHostPort);
}

} // namespace swctl
