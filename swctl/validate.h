// Checks and normal forms of arguments, used as transforms by the options: each
// throws CLI::ValidationError with what would have been accepted.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <initializer_list>
#include <string>

namespace swctl {

// A decimal number in a range; leading zeros are dropped, so that no number is
// taken for an octal one.
CLI::Validator decimal(int64_t least, int64_t most);

// "1,2,5-7" or "" becomes the comma-separated list that the database holds,
// each number once and in order; ports 0 to 31.
CLI::Validator portList();

// VLAN ids and ranges of them, as "10,100-199".
CLI::Validator idRanges();

// Whether a number lies in a text that idRanges has accepted.
bool inRanges(const std::string &ranges, int number);

// One of a few numbers.
CLI::Validator oneOf(std::initializer_list<int> values);

// A switch name that can stand in a port mapping: no ":" and no ",".
CLI::Validator switchNameText();

// Text that fits a field of the service, without control characters.
CLI::Validator textUpTo(size_t characters);

// An interface name: letters, digits and _ . : @ -
CLI::Validator interfaceName();

// SWITCH:PORT,SWITCH:PORT or "".
CLI::Validator portMapping();

// An even number of hexadecimal digits; blanks and colons between are dropped.
CLI::Validator hexBytes();

// "on" or "off"; becomes 1 or 0.
CLI::Validator onOff();

// The bytes of a text that hexBytes has accepted.
std::string bytesFromHex(const std::string &digits);

} // namespace swctl
