#include "client/service/log.h"

#include "client/base/failure.h"
#include "client/base/wire.h"
#include "client/service/service.h"
#include "common/clock.h"
#include "common/log_entry.h"
#include "platform/relay.h"

#include <array>
#include <cstring>
#include <ctime>
#include <optional>

namespace swctl {
namespace {

struct Answer {
    SwMgrLogAnswer header;
    std::string entries; // as received
};

Answer askAfter(uint64_t after, int32_t level, int type = LOGGING_MSG_FOLLOW)
{
    const SwMgrLogFollowRequest request{after, level, /*reserved=*/0};
    std::string buffer(SWMGR_LOG_ANSWER_USUAL, '\0');
    const int status = exchange(LOGGING_RELAY_MODULE_ID, type, bytesOf(request), buffer);
    Answer answer{};
    if (status < 0 || buffer.size() < sizeof(answer.header))
        throw Failure(exitRefused, "the log daemon answered " + statusInWords(status) +
                                       " when asked for the log");
    memcpy(&answer.header, buffer.data(), sizeof(answer.header));
    answer.entries = buffer.substr(sizeof(answer.header));
    return answer;
}

// Takes one entry off the front; nullopt if it is incomplete.
std::optional<LogLine> takeEntry(std::string_view &entries)
{
    SwMgrLogEntry entry{};
    if (entries.size() < sizeof(entry))
        return std::nullopt;
    memcpy(&entry, entries.data(), sizeof(entry));
    entries.remove_prefix(sizeof(entry));
    if (entry.textLength > entries.size())
        return std::nullopt;
    LogLine line{entry.time,
                 entry.module,
                 entry.level,
                 entry.dropped,
                 std::string(entries.substr(0, entry.textLength)),
                 entry.number};
    while (!line.text.empty() && (line.text.back() == '\n' || line.text.back() == ' '))
        line.text.pop_back();
    const size_t rest = logEntrySize(entry.textLength) - sizeof(entry);
    entries.remove_prefix(std::min(rest, entries.size()));
    return line;
}

} // namespace

void LogFollower::skipToNewest()
{
    const Answer answer = askAfter(SWMGR_LOG_NEWEST_ONLY, level);
    epoch = answer.header.epoch;
    after = answer.header.newest;
}

uint64_t LogFollower::read(const std::function<void(const LogLine &)> &take)
{
    uint64_t lost = 0;
    for (;;) {
        const Answer answer = askAfter(after, level);
        if (epoch != 0 && answer.header.epoch != epoch) {
            // A new daemon starts counting at 1 again.
            epoch = answer.header.epoch;
            after = 0;
            continue;
        }
        epoch = answer.header.epoch;
        lost += answer.header.skipped;
        std::string_view entries = answer.entries;
        for (uint32_t i = 0; i < answer.header.count; ++i) {
            const std::optional<LogLine> line = takeEntry(entries);
            if (!line)
                throw Failure(exitRefused, "the log daemon's answer is damaged");
            take(*line);
        }
        const bool advanced = answer.header.last > after;
        after = answer.header.last;
        if (!advanced || after >= answer.header.newest)
            return lost;
    }
}

bool markerArrived(int rowId)
{
    const SwMgrLogFollowRequest request{static_cast<uint64_t>(rowId), SWMGR_LOG_DEVDEBUG, 0};
    return ask(LOGGING_RELAY_MODULE_ID, LOGGING_MSG_MARKER, bytesOf(request)) == 1;
}

void addToLog(int32_t level, const std::string &text)
{
    constexpr int postMode = 2; // nobody waits for an answer
    SwMgrLogRecord record{};    // of module 0
    record.level = level;
    std::string sent = text;
    auto length = static_cast<uint32_t>(sent.size() + 1);
    static_cast<void>(relayIoctl(/*ctx=*/nullptr, LOGGING_RELAY_MODULE_ID, LOGGING_MSG_LOG, &record,
                                 sizeof(record), sent.data(), &length, postMode,
                                 /*arg1=*/0, /*arg2=*/0));
}

namespace {

// Everything that the daemon keeps of one kind.
Hearing readKept(int type, const std::function<void(const LogLine &)> &take)
{
    for (uint64_t after = 0;;) {
        const Answer answer = askAfter(after, SWMGR_LOG_DEVDEBUG, type);
        std::string_view entries = answer.entries;
        for (uint32_t i = 0; i < answer.header.count; ++i)
            if (const std::optional<LogLine> line = takeEntry(entries))
                take(*line);
        if (answer.header.last <= after || answer.header.last >= answer.header.newest)
            return {static_cast<int64_t>(answer.header.epoch),
                    answer.header.lost + answer.header.skipped};
        after = answer.header.last;
    }
}

} // namespace

Hearing failedTools(const std::function<void(const LogLine &)> &take)
{
    return readKept(LOGGING_MSG_TOOLS, take);
}

void settingLines(const std::function<void(const LogLine &)> &take)
{
    static_cast<void>(readKept(LOGGING_MSG_SETTINGS, take));
}

std::optional<LogCounts> countsOfLog()
{
    try {
        const Answer answer = askAfter(0, SWMGR_LOG_DEVDEBUG, LOGGING_MSG_COUNTERS);
        LogCounts counts{{static_cast<int64_t>(answer.header.epoch), answer.header.lost},
                         answer.header.newest,
                         {}};
        if (answer.entries.size() < sizeof(counts.counters))
            return std::nullopt;
        memcpy(&counts.counters, answer.entries.data(), sizeof(counts.counters));
        return counts;
    } catch (const Failure &) {
        return std::nullopt;
    }
}

std::string timeText(int64_t time)
{
    const auto seconds = static_cast<time_t>(time / nanosecondsPerSecond);
    const int milliseconds =
        static_cast<int>(time % nanosecondsPerSecond / nanosecondsPerMillisecond);
    tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 64> date{};
    std::array<char, 80> text{};
    strftime(date.data(), date.size(), "%F %T", &local);
    snprintf(text.data(), text.size(), "%s.%03d", date.data(), milliseconds);
    return text.data();
}

} // namespace swctl
