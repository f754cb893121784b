// What rules and checks share.
#pragma once

#include "client/base/number.h"
#include "client/check/rule.h"

namespace swctl {

constexpr size_t subInterfaceName = 15; // characters of a network interface's name

} // namespace swctl
