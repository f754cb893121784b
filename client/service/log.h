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
    uint32_t module = 0;  // of the sender
    int32_t level = 0;    // SWMGR_LOG_...
    uint32_t dropped = 0; // records that the sender lost just before this one
    std::string text;     // as received, without the line end
    uint64_t number = 0;  // the daemon's, from 1
};

// Follows the log. Throws if the daemon cannot be reached.
class LogFollower {
public:
    explicit LogFollower(int32_t mostLevel) : level(mostLevel) {}

    // Skips all existing records.
    void skipToNewest();

    // Passes on the records since the last call. Returns how many were missed because the
    // daemon no longer has them.
    uint64_t read(const std::function<void(const LogLine &)> &take);

private:
    int32_t level;      // less severe records are left out
    uint64_t epoch = 0; // identifies the daemon that answered last, 0 if none
    uint64_t after = 0; // number of the last record read
};

// Whether the service's line about the deletion of that row in the marker table has arrived.
bool markerArrived(int rowId);

// Adds a record of this program to the log, if a daemon listens.
void addToLog(int32_t level, const std::string &text);

// What the daemon has been able to receive.
struct Hearing {
    int64_t since = 0; // ns since 1970, when it began to listen
    uint64_t lost = 0; // records lost before they reached it
};

// Passes on the command lines that failed and have not succeeded since, and the lines that
// report a failure of the last configuration load.
Hearing failedTools(const std::function<void(const LogLine &)> &take);

// Passes on the newest line about each setting that no device can report, oldest first; their
// `dropped` counts the records lost since.
void settingLines(const std::function<void(const LogLine &)> &take);

struct LogCounts {
    Hearing heard;
    uint64_t records = 0; // of all services
    SwMgrLogCounters counters{};
};

// The daemon's counters; nullopt if it cannot be asked or keeps none.
std::optional<LogCounts> countsOfLog();

std::string timeText(int64_t time); // local time with milliseconds

} // namespace swctl
