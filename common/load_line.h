// The lines in which the service reports that a part of loading its configuration
// failed at startup, after which it still serves requests.
#pragma once

#include <cstddef>
#include <string_view>

constexpr std::string_view loadFailures[] = {
    "Failed to load switch configuration",      "Failed to load switch port configuration",
    "Failed to load switch vlan configuration", "Failed to apply switch configuration",
    "failed to open database connection",
};

inline bool isLoadFailure(std::string_view text)
{
    for (const std::string_view failure : loadFailures)
        if (text.find(failure) != std::string_view::npos)
            return true;
    return false;
}
