// Reading the service's log; see the header.
#include "swctl/log.h"

#include "standins/logd/log_follow.h"
#include "swctl/outcome.h"
#include "swctl/service.h"

#include <array>
#include <cstring>
#include <ctime>
#include <optional>

namespace swctl {
namespace {

constexpr int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr int64_t nanosecondsPerMillisecond = 1'000'000;

struct Answer {
    logd::LogAnswer header;
    std::string entries; // as they came
};

Answer askAfter(uint64_t after, int32_t level)
{
    const logd::LogFollowRequest request{after, level, /*reserved=*/0};
    std::string buffer(logd::usualAnswerSize, '\0');
    const int status =
        exchange(LOGGING_RELAY_MODULE_ID, logd::LOG_FOLLOW, bytesOf(request), buffer);
    Answer answer{};
    if (status < 0 || buffer.size() < sizeof(answer.header))
        throw Failure(exitRefused,
                      "the log daemon answered " + statusInWords(status) + " to a look at the log");
    memcpy(&answer.header, buffer.data(), sizeof(answer.header));
    answer.entries = buffer.substr(sizeof(answer.header));
    return answer;
}

// Takes one entry off the front; none when what is left is not a whole one.
std::optional<LogLine> takeEntry(std::string_view &entries)
{
    logd::LogEntry entry{};
    if (entries.size() < sizeof(entry))
        return std::nullopt;
    memcpy(&entry, entries.data(), sizeof(entry));
    entries.remove_prefix(sizeof(entry));
    if (entry.textLength > entries.size())
        return std::nullopt;
    LogLine line{entry.time, entry.module, entry.level, entry.dropped,
                 std::string(entries.substr(0, entry.textLength))};
    while (!line.text.empty() && (line.text.back() == '\n' || line.text.back() == ' '))
        line.text.pop_back();
    const size_t rest = logd::entrySize(entry.textLength) - sizeof(entry);
    entries.remove_prefix(std::min(rest, entries.size()));
    return line;
}

} // namespace

void LogFollower::skipToNewest()
{
    const Answer answer = askAfter(logd::newestOnly, level);
    epoch = answer.header.epoch;
    after = answer.header.newest;
}

uint64_t LogFollower::read(const std::function<void(const LogLine &)> &take)
{
    uint64_t lost = 0;
    for (;;) {
        const Answer answer = askAfter(after, level);
        if (epoch != 0 && answer.header.epoch != epoch) {
            // Another daemon counts from 1 again.
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

const char *levelName(int32_t level)
{
    switch (level) {
    case SWMGR_LOG_ERROR:
        return "error";
    case SWMGR_LOG_INFO:
        return "info";
    case SWMGR_LOG_NOTICE:
        return "notice";
    case SWMGR_LOG_DEVDEBUG:
        return "debug";
    default:
        return "other";
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
