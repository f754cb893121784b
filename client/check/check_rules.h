// What rules and checks share: the limits of the devices.
#pragma once

#include "client/base/number.h"
#include "client/check/rule.h"

namespace swctl {

constexpr int chipPorts = 5;            // ports 0 to 4
constexpr size_t subInterfaceName = 15; // characters of a network interface's name

} // namespace swctl
