// Numbers in text, parsed the way the service parses them.
#pragma once

#include "platform/number.h"

#include <string>

namespace swctl {

constexpr int lowestVlan = 1; // valid VLAN ids
constexpr int highestVlan = 4094;

// Parses the leading digits, saturating; 0 if there are none.
inline int32_t toInt(const std::string &text)
{
    int32_t value = 0;
    static_cast<void>(decimalRead(text.c_str(), value));
    return value;
}

} // namespace swctl
