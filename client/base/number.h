// Numbers in texts, read as the service reads them.
#pragma once

#include "platform/number.h"

#include <string>

namespace swctl {

constexpr int lowestVlan = 1; // ids that name a VLAN
constexpr int highestVlan = 4094;

// Up to the first character that is no digit, saturating; 0 without a digit.
inline int32_t toInt(const std::string &text)
{
    int32_t value = 0;
    static_cast<void>(decimalRead(text.c_str(), value));
    return value;
}

} // namespace swctl
