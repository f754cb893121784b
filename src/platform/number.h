// Decimal numbers in texts from outside.
#pragma once

#include <cstdint>
#include <cstdlib>

// Reads the decimal number at the start of `text`: leading white space and a
// sign are accepted, what follows the digits is ignored, and a value beyond 32
// bits becomes the nearest one that fits. Returns false, with 0, when there is
// no digit.
inline bool decimalRead(const char *text, int32_t &value)
{
    char *end = nullptr;
    const long read = strtol(text, &end, 10);
    if (read > INT32_MAX)
        value = INT32_MAX;
    else if (read < INT32_MIN)
        value = INT32_MIN;
    else
        value = static_cast<int32_t>(read);
    return end != text;
}
