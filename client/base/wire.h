// Wire records as bytes, and text copied into their fields.
#pragma once

#include <cstddef>
#include <string_view>

namespace swctl {

template <class Record>
std::string_view bytesOf(const Record &record)
{
    return {reinterpret_cast<const char *>(&record), sizeof(record)};
}

// Copies text into a zeroed, null-terminated field. The caller has checked that it fits.
template <size_t N>
void fillField(char (&field)[N], std::string_view text)
{
    text.copy(field, N - 1);
}

} // namespace swctl
