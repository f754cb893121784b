// Ports as bits of a mask, bit n for port n, and as the list "1,2,5" of a column.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace swctl {

constexpr int maskPorts = 32;

constexpr uint32_t portBit(int port) // none for a port that no mask has
{
    return port >= 0 && port < maskPorts ? 1u << port : 0;
}

std::vector<int> portsIn(uint32_t mask);
std::string listOf(uint32_t mask); // empty for none

// As the service reads it: an entry that is no number is port 0, one that no mask has
// is left out.
uint32_t maskOf(const std::string &list);

} // namespace swctl
