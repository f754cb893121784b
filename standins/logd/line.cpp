// Formatting of records. Called for each record that is printed.
#include "standins/logd/line.h"

#include "swmgr/swmgr_client.h"

#include <cstdio>
#include <cstring>
#include <ctime>

namespace logd {

namespace {

struct Name {
    int32_t value;
    const char *text;
};

constexpr Name levels[] = {
    {SWMGR_LOG_ERROR, "error"},
    {SWMGR_LOG_INFO, "info"},
    {SWMGR_LOG_NOTICE, "notice"},
    {SWMGR_LOG_DEVDEBUG, "debug"},
};

constexpr Name modules[] = {
    {SWMGR_RELAY_MODULE_ID, "swmgr"},
    {LOGGING_RELAY_MODULE_ID, "swlogd"},
};

template <size_t Count>
const char *nameOf(const Name (&names)[Count], int32_t value)
{
    for (const Name &name : names)
        if (name.value == value)
            return name.text;
    return nullptr;
}

// The name, or the number in `digits`.
const char *nameOrNumber(const char *name, long long value, char (&digits)[16])
{
    if (name != nullptr)
        return name;
    snprintf(digits, sizeof(digits), "%lld", value);
    return digits;
}

size_t formatHead(const LogEntry &entry, char (&line)[maxLine])
{
    constexpr int64_t second = 1000000000;
    const time_t seconds = static_cast<time_t>(entry.time / second);
    struct tm local = {};
    localtime_r(&seconds, &local);
    char stamp[32];
    if (strftime(stamp, sizeof(stamp), "%Y-%m-%d %H:%M:%S", &local) == 0)
        stamp[0] = '\0';
    char level[16];
    char module[16];
    const int length = snprintf(
        line, sizeof(line), "%s.%03d %-6s %-6s ", stamp,
        static_cast<int>(entry.time % second / 1000000),
        nameOrNumber(levelName(entry.level), entry.level, level),
        nameOrNumber(nameOf(modules, static_cast<int32_t>(entry.module)), entry.module, module));
    return length > 0 ? static_cast<size_t>(length) : 0;
}

} // namespace

const char *levelName(int32_t level)
{
    return nameOf(levels, level);
}

bool levelByName(const char *name, int32_t &level)
{
    for (const Name &known : levels) {
        if (strcmp(known.text, name) == 0) {
            level = known.value;
            return true;
        }
    }
    return false;
}

size_t formatLine(const LogEntry &entry, const char *text, char (&line)[maxLine])
{
    constexpr char digits[] = "0123456789abcdef";
    size_t length = formatHead(entry, line);
    size_t textLength = entry.textLength < maxText ? entry.textLength : maxText;
    while (textLength > 0 && text[textLength - 1] == '\n')
        --textLength;
    for (size_t i = 0; i < textLength; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= ' ' && byte < 0x7f) {
            line[length++] = text[i];
            continue;
        }
        line[length++] = '\\';
        line[length++] = 'x';
        line[length++] = digits[byte >> 4];
        line[length++] = digits[byte & 15];
    }
    line[length++] = '\n';
    line[length] = '\0';
    return length;
}

} // namespace logd
