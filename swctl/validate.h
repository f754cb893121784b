// Checks and normal forms of arguments, for the rows of options: each gives the normal
// form, or throws a Failure that says what would have been accepted.
#pragma once

#include "client/rows/columns.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace swctl {

constexpr int64_t maxInt = std::numeric_limits<int32_t>::max();
constexpr int64_t minInt = std::numeric_limits<int32_t>::min();

// A decimal number in a range; leading zeros are dropped, so that no number is
// taken for an octal one.
std::string numberWithin(const std::string &text, int64_t least, int64_t most);
template <int64_t least, int64_t most>
std::string decimal(const std::string &text)
{
    return numberWithin(text, least, most);
}

// One of a few words, or of a few numbers.
std::string wordAmong(const std::string &text, const std::vector<std::string> &words);
template <int... values>
std::string oneOf(const std::string &text)
{
    return wordAmong(text, {std::to_string(values)...});
}

// One of the numbers that a column accepts.
std::string numberAmong(const std::string &text, const Column &column);

// "1,2,5-7" or "" becomes the comma-separated list that the database holds,
// each number once and in order; ports 0 to 31.
std::string portList(const std::string &text);

// VLAN ids and ranges of them, as "10,100-199".
std::string idRanges(const std::string &text);

// Whether a number lies in a text that idRanges has accepted.
bool inRanges(const std::string &ranges, int number);

// A switch name that can stand in a port mapping: no ":" and no ",".
std::string switchNameText(const std::string &text);

// Text that fits a field of the service, without control characters.
std::string textOf(const std::string &text, size_t most);
template <size_t characters>
std::string textUpTo(const std::string &text)
{
    return textOf(text, characters);
}

// An interface name: letters, digits and _ . : @ -
std::string interfaceName(const std::string &text);

// SWITCH:PORT,SWITCH:PORT or "".
std::string portMapping(const std::string &text);

// An even number of hexadecimal digits; blanks and colons between are dropped.
std::string hexBytes(const std::string &text);

// "on" or "off"; becomes 1 or 0.
std::string onOff(const std::string &text);

// The bytes of a text that hexBytes has accepted.
std::string bytesFromHex(const std::string &digits);

} // namespace swctl
