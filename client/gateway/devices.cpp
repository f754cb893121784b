#include "client/gateway/devices.h"

#include "client/devices/bridge/bridge_device.h"
#include "client/devices/chip/chip.h"
#include "client/devices/engine/engine.h"

#include <array>

namespace swctl {

std::span<const Device *const> devices()
{
    static const std::array table = {
        &chipDevice(),
        &engineDevice(),
        &bridgeDevice(),
    };
    return table;
}

const Device *deviceOf(std::string_view switchName)
{
    for (const Device *device : devices())
        if (device->name == switchName)
            return device;
    return nullptr;
}

} // namespace swctl
