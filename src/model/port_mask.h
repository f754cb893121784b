// Port masks: bit n is port n.
#pragma once

#include <cstdint>

constexpr int32_t portMaskBits = 32;

// The bit of a port; 0 for a number that does not fit in a mask.
constexpr uint32_t portBit(int32_t port)
{
    return port >= 0 && port < portMaskBits ? 1u << port : 0;
}

// Iterates over the ports in a mask, lowest first: `for (const int32_t port : PortsOf{mask})`.
struct PortsOf {
    uint32_t mask;

    struct Iterator {
        uint32_t left; // ports still to visit
        int32_t operator*() const { return __builtin_ctz(left); }
        bool operator!=(const Iterator &other) const { return left != other.left; }
        Iterator &operator++()
        {
            left &= left - 1;
            return *this;
        }
    };
    [[nodiscard]] Iterator begin() const { return {mask}; }
    [[nodiscard]] static Iterator end() { return {0}; }
};
