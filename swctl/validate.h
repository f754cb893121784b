// Checks for the values of options: each returns the normal form, or throws a Failure that
// lists what is accepted.
#pragma once

#include "client/rows/columns.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace swctl {

constexpr int64_t maxInt = std::numeric_limits<int32_t>::max();
constexpr int64_t minInt = std::numeric_limits<int32_t>::min();

// A decimal number in a range; leading zeros are dropped, so that it is not mistaken for octal.
std::string numberWithin(const std::string &text, int64_t least, int64_t most);
template <int64_t least, int64_t most>
std::string decimal(const std::string &text)
{
    return numberWithin(text, least, most);
}

// One of several words or numbers.
std::string wordAmong(const std::string &text, const std::vector<std::string> &words);
template <int... values>
std::string oneOf(const std::string &text)
{
    return wordAmong(text, {std::to_string(values)...});
}

// A number that a column accepts.
std::string numberAmong(const std::string &text, const Column &column);

// Turns "1,2,5-7" or "" into the list stored in the database, sorted and without duplicates;
// ports 0 to 31.
std::string portList(const std::string &text);

// VLAN ids and ranges, e.g. "10,100-199".
std::string idRanges(const std::string &text);

// Whether a number is in a list accepted by idRanges.
bool inRanges(const std::string &ranges, int number);

// A switch name that can be used in a port mapping: without ":" and ",".
std::string switchNameText(const std::string &text);

// Text without control characters that fits the service's field.
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

// An even number of hexadecimal digits; blanks and colons are dropped.
std::string hexBytes(const std::string &text);

// "on" or "off", converted to 1 or 0.
std::string onOff(const std::string &text);

// The bytes of a text accepted by hexBytes.
std::string bytesFromHex(const std::string &digits);

} // namespace swctl
