// Formats records. Called for each record that is printed.
#include "standins/logd/line.h"

#include "common/clock.h"
#include "common/log_rank.h"

#include <cstdio>
#include <ctime>

namespace logd {

namespace {

// The name, or the number written to `digits`.
const char *nameOrNumber(const char *name, long long value, char (&digits)[16])
{
    if (name != nullptr)
        return name;
    snprintf(digits, sizeof(digits), "%lld", value);
    return digits;
}

const char *moduleName(uint32_t module)
{
    return module == SWMGR_RELAY_MODULE_ID     ? "swmgr"
           : module == LOGGING_RELAY_MODULE_ID ? "swlogd"
           : module == 0                       ? "swctl"
                                               : nullptr;
}

// The local time, computed once a second.
const char *stampOf(time_t seconds)
{
    static constinit time_t known = 0;
    static constinit char stamp[32] = {};
    if (seconds == known && stamp[0] != '\0')
        return stamp;
    known = seconds;
    struct tm local = {};
    localtime_r(&seconds, &local);
    if (strftime(stamp, sizeof(stamp), "%Y-%m-%d %H:%M:%S", &local) == 0)
        stamp[0] = '\0';
    return stamp;
}

size_t formatHead(const SwMgrLogEntry &entry, int32_t rank, char (&line)[maxLine])
{
    const time_t seconds = static_cast<time_t>(entry.time / nanosecondsPerSecond);
    char rankDigits[16];
    char moduleDigits[16];
    const int length =
        snprintf(line, sizeof(line), "%s.%03d %-7s %-6s ", stampOf(seconds),
                 static_cast<int>(entry.time % nanosecondsPerSecond / nanosecondsPerMillisecond),
                 nameOrNumber(logRankName(rank), rank, rankDigits),
                 nameOrNumber(moduleName(entry.module), entry.module, moduleDigits));
    return length > 0 ? static_cast<size_t>(length) : 0;
}

} // namespace

size_t formatLine(const SwMgrLogEntry &entry, const char *text, char (&line)[maxLine])
{
    size_t textLength =
        entry.textLength < SWMGR_LOG_TEXT_SIZE ? entry.textLength : size_t{SWMGR_LOG_TEXT_SIZE};
    size_t length = formatHead(entry, logRank(entry.level, text, textLength), line);
    while (textLength > 0 && text[textLength - 1] == '\n')
        --textLength;
    length += printableCopy(line + length, text, textLength);
    line[length++] = '\n';
    line[length] = '\0';
    return length;
}

} // namespace logd
