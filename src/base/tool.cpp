// The only place that runs command lines, so that all of them are logged alike.
#include "base/tool.h"

#include "base/interface_name.h"
#include "base/log.h"
#include "model/status.h"
#include "platform/sal.h"

#include <cstdarg>

namespace {

// The status of a command line that is refused, as if its program had failed.
constexpr int notRun = 1;

int run(const char *func, int sourceLine, bool allowed, const char *format, va_list arguments)
{
    char commandLine[toolLineSize];
    static_cast<void>(vsnprintf(commandLine, sizeof(commandLine), format, arguments));
    const int status = allowed ? salCmdExec(commandLine, /*arg1=*/0, /*arg2=*/0) : notRun;
    LOG_AT(SWMGR_LOG_ERROR, noLabel, func, sourceLine, "cmd (%s) returned (%d).\n", commandLine,
           status);
    return status;
}

} // namespace

int toolRun(const char *func, int sourceLine, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int status = run(func, sourceLine, /*allowed=*/true, format, arguments);
    va_end(arguments);
    return status;
}

int toolRunOn(const char *func, int sourceLine, const char *word, const char *format, ...)
{
    if (word == nullptr) {
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, sourceLine, "no word for a command line\n");
        return statusFailed;
    }
    const bool allowed = interfaceNameIsSafe(word);
    if (!allowed)
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, sourceLine,
               "'%s' has no place in a command line, so this one is not run\n", word);
    va_list arguments;
    va_start(arguments, format);
    const int status = run(func, sourceLine, allowed, format, arguments);
    va_end(arguments);
    return status;
}
