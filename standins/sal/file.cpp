// Files by stdio. Streams are closed in the tools that salCmdExec runs.
#include "standins/sal/exported.h"

#include <cerrno>
#include <cstdarg>
#include <unistd.h>

FILE *salFileOpen(const char *path, const char *mode)
{
    char closedOnExec[16];
    if (path == nullptr || mode == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    const int length = snprintf(closedOnExec, sizeof(closedOnExec), "%se", mode);
    if (length < 0 || static_cast<size_t>(length) >= sizeof(closedOnExec)) {
        errno = EINVAL;
        return nullptr;
    }
    return fopen(path, closedOnExec);
}

int salFilePrintf(FILE *stream, const char *format, ...)
{
    if (stream == nullptr || format == nullptr)
        return -EINVAL;
    va_list arguments;
    va_start(arguments, format);
    const int written = vfprintf(stream, format, arguments);
    va_end(arguments);
    return written;
}

int salFileClose(FILE *stream)
{
    if (stream == nullptr)
        return -EINVAL;
    return fclose(stream) == 0 ? 0 : -errno;
}

int salUnlink(const char *path)
{
    if (path == nullptr)
        return -EINVAL;
    return unlink(path) == 0 ? 0 : -errno;
}
