// Ports as a bit mask (bit n is port n) and as a column's list "1,2,5".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

constexpr int maskPorts = 32;

constexpr uint32_t portBit(int port) // 0 for a port outside the mask
{
    return port >= 0 && port < maskPorts ? 1u << port : 0;
}

std::vector<int> portsIn(uint32_t mask);
std::string listOf(uint32_t mask); // empty for an empty mask

// Parsed the way the service does it: an entry that is not a number counts as port 0, a port
// outside the mask is skipped.
uint32_t maskOf(const std::string &list);

} // namespace swctl
