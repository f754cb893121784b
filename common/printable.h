// Makes text safe for a terminal or a log file: no byte of it can move the cursor, end
// a line or pretend to be another record.
#pragma once

#include <cstddef>

constexpr size_t printableWidest = 4; // bytes that one byte may become

// Copies `length` bytes; control characters and bytes outside ASCII become \xHH.
// `to` has room for printableWidest times as many. Returns the bytes written.
inline size_t printableCopy(char *to, const char *from, size_t length)
{
    constexpr char digits[] = "0123456789abcdef";
    char *at = to;
    for (size_t i = 0; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(from[i]);
        if (byte >= ' ' && byte < 0x7f) {
            *at++ = from[i];
            continue;
        }
        *at++ = '\\';
        *at++ = 'x';
        *at++ = digits[byte >> 4];
        *at++ = digits[byte & 15];
    }
    return static_cast<size_t>(at - to);
}
