// Reading the system's clocks.
#pragma once

#include <cstdint>
#include <ctime>

constexpr int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr int64_t nanosecondsPerMillisecond = 1'000'000;

inline int64_t nanosecondsNow(clockid_t clock)
{
    struct timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<int64_t>(now.tv_sec) * nanosecondsPerSecond + now.tv_nsec;
}

inline int64_t millisecondsNow(clockid_t clock)
{
    return nanosecondsNow(clock) / nanosecondsPerMillisecond;
}
