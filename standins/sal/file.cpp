// Files, with stdio. Streams are closed in the tools that salCmdExec runs.
#include "common/printable.h"
#include "standins/sal/exported.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <unistd.h>

namespace {

// People read standard error, and its messages contain names from requests and rows. The
// text's own final line end is kept.
int printToTerminal(const char *format, va_list arguments)
{
    char text[2048];
    const int length = vsnprintf(text, sizeof(text), format, arguments);
    if (length <= 0)
        return length;
    size_t shown = strlen(text);
    const bool ended = text[shown - 1] == '\n';
    shown -= ended ? 1 : 0;
    char safe[printableWidest * sizeof(text)];
    size_t size = printableCopy(safe, text, shown);
    if (ended)
        safe[size++] = '\n';
    return fwrite(safe, 1, size, stderr) == size ? length : -EIO;
}

} // namespace

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
    const int written =
        stream == stderr ? printToTerminal(format, arguments) : vfprintf(stream, format, arguments);
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
