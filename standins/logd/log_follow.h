// How a client follows the log: it asks the log daemon again and again for the
// records after the last one it has seen (relay mode 1, type LOG_FOLLOW, module
// LOGGING_RELAY_MODULE_ID). The answer comes in the reply buffer: a LogAnswer,
// then `count` times a LogEntry and its text, each entry starting on a multiple
// of eight bytes. The daemon keeps the last 512 records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace logd {

constexpr int LOG_FOLLOW = 33;
constexpr uint64_t newestOnly = UINT64_MAX;   // as `after`: only learn the newest number
constexpr size_t maxText = 1024;              // bytes of text in one entry; the rest is cut
constexpr size_t usualAnswerSize = 32 * 1024; // a reply buffer that holds some dozens

// The request's data.
struct LogFollowRequest {
    uint64_t after; // number of the last record seen, 0: from the oldest one kept
    int32_t level;  // records above this level are left out, as SWMGR_LOG_...
    uint32_t reserved;
};
static_assert(sizeof(LogFollowRequest) == 16);

// A follower that finds another `epoch` than before starts anew with 0. When
// `last` is below `newest` there is more to ask for at once.
struct LogAnswer {
    uint64_t epoch;   // start of the daemon, ns since 1970
    uint64_t newest;  // number of the newest record, 0: none yet
    uint64_t last;    // number to ask after next time
    uint64_t skipped; // records after `after` that are no longer kept
    uint32_t count;   // entries that follow
    uint32_t reserved;
};
static_assert(sizeof(LogAnswer) == 40);

struct LogEntry {
    uint64_t number;     // counts from 1
    int64_t time;        // ns since 1970
    uint32_t module;     // of the record's author
    int32_t level;       // SWMGR_LOG_...
    uint32_t dropped;    // records its sender lost right before this one
    uint32_t textLength; // bytes of text that follow, without terminator, as they came
};
static_assert(sizeof(LogEntry) == 32 && std::is_trivially_copyable_v<LogEntry>);

// Bytes from the start of one entry to the start of the next.
constexpr size_t entrySize(size_t textLength)
{
    return (sizeof(LogEntry) + textLength + 7) / 8 * 8;
}

} // namespace logd
