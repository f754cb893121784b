// Decimal numbers in text from outside.
#pragma once

#include <cstdint>
#include <cstdlib>

// Reads the decimal number at the start of `text`. Leading white space and a sign are accepted,
// anything after the digits is ignored, and a value that does not fit in 32 bits saturates.
// Without a digit, stores 0 and returns false.
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
