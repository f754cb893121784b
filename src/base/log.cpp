// Composes log messages and passes them to standard error or to the device's logging module.
// All logging goes through swMgrDebug.
#include "base/log.h"

#include "platform/sal.h"

#include <cstdarg>
#include <cstring>

namespace {

constexpr size_t textSize = 1024; // terminator included
constexpr int sendOnly = 2;       // relay mode: do not wait for an answer

// Text that is truncated to its capacity.
struct Text {
    char bytes[textSize];
    size_t used;

    void append(const char *piece)
    {
        const size_t length = strnlen(piece, textSize - 1 - used);
        memcpy(bytes + used, piece, length);
        used += length;
        bytes[used] = '\0';
    }

    void appendFormat(const char *format, va_list arguments)
    {
        const int length = vsnprintf(bytes + used, textSize - used, format, arguments);
        if (length > 0) {
            const size_t room = textSize - 1 - used;
            used += static_cast<size_t>(length) < room ? static_cast<size_t>(length) : room;
        }
        bytes[used] = '\0';
    }

    __attribute__((format(printf, 2, 3))) void appendFormat(const char *format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        appendFormat(format, arguments);
        va_end(arguments);
    }
};

void send(int level, Text &text)
{
    SwMgrLogRecord record{};
    record.moduleId = SWMGR_RELAY_MODULE_ID;
    record.level = level;
    uint32_t length = static_cast<uint32_t>(strlen(text.bytes) + 1);
    // Losing a log record must not make the logged operation fail.
    static_cast<void>(relayIoctl(pSwMgrRelayCtx, LOGGING_RELAY_MODULE_ID, LOGGING_MSG_LOG, &record,
                                 static_cast<int>(sizeof(record)), text.bytes, &length, sendOnly,
                                 /*arg1=*/0, /*arg2=*/0));
}

} // namespace

extern "C" int swMgrDebug(const char *prefix, int level, const char *funcName, int line,
                          const char *fmt, ...)
{
    if (level < 0)
        return 0;

    Text text;
    text.used = 0;
    if (prefix != nullptr)
        text.append(prefix);
    if (funcName != nullptr)
        text.appendFormat("%s:%d:", funcName, line);
    va_list arguments;
    va_start(arguments, fmt);
    text.appendFormat(fmt, arguments);
    va_end(arguments);

    if (swMgrForeground != 0)
        static_cast<void>(salFilePrintf(stderr, "%s", text.bytes));
    else
        send(level, text);
    return 0;
}
