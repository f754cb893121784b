// The devices that implement switches. A switch's name selects its device here just as it
// selects the backend in the service.
#pragma once

#include "client/devices/device.h"

#include <span>
#include <string_view>

namespace swctl {

// In the order in which messages list them.
std::span<const Device *const> devices();

const Device *deviceOf(std::string_view switchName); // null if unknown

} // namespace swctl
