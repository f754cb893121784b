// Points in time as text, in local time.
#pragma once

#include <cstdint>
#include <string>

namespace swctl {

// "12:30:05" and "2026-01-31 12:30:05", from seconds since 1970.
std::string clockText(int64_t time);
std::string dateText(int64_t time);

} // namespace swctl
