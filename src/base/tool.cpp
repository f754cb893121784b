// One place where command lines are run, so that each is logged alike.
#include "base/tool.h"

#include "base/log.h"
#include "platform/sal.h"

#include <cstdarg>

int toolRun(const char *func, int sourceLine, const char *format, ...)
{
    char commandLine[toolLineSize];
    va_list arguments;
    va_start(arguments, format);
    static_cast<void>(vsnprintf(commandLine, sizeof(commandLine), format, arguments));
    va_end(arguments);

    const int status = salCmdExec(commandLine, /*arg1=*/0, /*arg2=*/0);
    LOG_AT(SWMGR_LOG_ERROR, noLabel, func, sourceLine, "cmd (%s) returned (%d).\n", commandLine,
           status);
    return status;
}
