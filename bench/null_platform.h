// A platform that does nothing but count calls, so that only the library's own cost is
// measured.
#pragma once

#include <cstdint>

struct PlatformCalls {
    uint64_t commandLines;
    uint64_t ioctls;
    uint64_t logRecords;
    uint64_t other;

    [[nodiscard]] uint64_t total() const { return commandLines + ioctls + logRecords + other; }
};

extern PlatformCalls platformCalls;
