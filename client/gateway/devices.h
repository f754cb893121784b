// The devices that carry switches out. A switch's name chooses its device, as it chooses
// the backend in the service.
#pragma once

#include "client/devices/device.h"

#include <span>
#include <string_view>

namespace swctl {

// In the order of messages that list them.
std::span<const Device *const> devices();

const Device *deviceOf(std::string_view switchName); // null: there is none

} // namespace swctl
