// Reading the service's log from the log daemon.
#pragma once

#include "swmgr/swmgr_log.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace swctl {

struct LogLine {
    int64_t time = 0;     // ns since 1970
    uint32_t module = 0;  // of the author
    int32_t level = 0;    // SWMGR_LOG_...
    uint32_t dropped = 0; // records that its sender lost right before
    std::string text;     // as it came, without its line end
};

// Follows the log from a point on. Throws when the daemon cannot be reached.
class LogFollower {
public:
    explicit LogFollower(int32_t mostLevel) : level(mostLevel) {}

    // Passes over everything that is there already.
    void skipToNewest();

    // Hands over what has come since the last call; gives the number of records
    // that were lost because the daemon no longer keeps them.
    uint64_t read(const std::function<void(const LogLine &)> &take);

private:
    int32_t level;      // records above it are left out
    uint64_t epoch = 0; // of the daemon that was asked last, 0: none
    uint64_t after = 0; // number of the last record seen
};

// What the daemon could have heard.
struct Hearing {
    int64_t since = 0; // ns since 1970: it listens since then
    uint64_t lost = 0; // records that were lost on their way to it
};

// Hands over the command lines that failed and have not succeeded since, and the
// lines about the last load of the configuration that failed.
Hearing failedTools(const std::function<void(const LogLine &)> &take);

struct LogCounts {
    Hearing heard;
    uint64_t records = 0; // of every service
    SwMgrLogCounters counters{};
};

// What the daemon has counted; none where it cannot be asked, or does not count.
std::optional<LogCounts> countsOfLog();

std::string timeText(int64_t time); // local time with milliseconds

} // namespace swctl
