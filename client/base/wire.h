// Wire records as the bytes that travel, and text into their fields.
#pragma once

#include <cstddef>
#include <string_view>

namespace swctl {

// The bytes of a wire record.
template <class Record>
std::string_view bytesOf(const Record &record)
{
    return {reinterpret_cast<const char *>(&record), sizeof(record)};
}

// Copies text into a null-terminated field that is zero so far; the caller has
// checked that it fits.
template <size_t N>
void fillField(char (&field)[N], std::string_view text)
{
    text.copy(field, N - 1);
}

} // namespace swctl
