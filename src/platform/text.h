// Bounded text in fixed-size arrays: never writes past the destination, and never reads past a
// source field that lacks its terminator.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

// Copies the text of a field to an array of any size and terminates it, truncating it if
// necessary.
template <size_t N, size_t M>
void textCopy(char (&to)[N], const char (&from)[M])
{
    constexpr size_t room = N - 1 < M ? N - 1 : M;
    const size_t length = strnlen(from, room);
    memcpy(to, from, length);
    memset(to + length, 0, N - length);
}

// Formats into an array, truncating the text if necessary.
template <size_t N>
[[gnu::format(printf, 2, 3)]] void textFormat(char (&to)[N], const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    static_cast<void>(vsnprintf(to, N, format, arguments));
    va_end(arguments);
}

// Truncates a text that fills its field completely.
template <size_t N>
void textTerminate(char (&field)[N])
{
    field[N - 1] = '\0';
}
