// Appends lines to a descriptor.
#include "standins/logd/output.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace logd {

namespace {

// Set by outputOpen, and when the file is reopened.
constinit const char *path = nullptr; // null: standard output
constinit int64_t boundWanted = 0;    // bytes, 0: none
constinit int64_t bound = 0;          // also 0 once a new file could not be begun
constinit int fd = STDOUT_FILENO;
constinit int64_t size = 0;             // bytes in the file
constinit bool failed = false;          // reported once, until a line can be written again
constinit bool halfLine = false;        // the beginning of a line could not be removed
constinit char pending[16 * 1024] = {}; // lines waiting to be written together
constinit size_t pendingSize = 0;

bool fileOpen()
{
    const int opened = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
    struct stat about = {};
    if (opened < 0 || fstat(opened, &about) != 0) {
        fprintf(stderr, "swlogd: cannot open %s: %s\n", path, strerror(errno));
        return false;
    }
    if (fd != STDOUT_FILENO)
        close(fd);
    fd = opened;
    size = about.st_size;
    return true;
}

// Keeps the file under another name. If that fails, the lines continue in the current
// file: a log that is too long is better than none.
void fileTurn()
{
    char kept[PATH_MAX];
    const int length = snprintf(kept, sizeof(kept), "%s.1", path);
    if (length > 0 && static_cast<size_t>(length) < sizeof(kept) && rename(path, kept) == 0 &&
        fileOpen())
        return;
    fprintf(stderr, "swlogd: cannot start a new %s: %s\n", path, strerror(errno));
    bound = 0;
}

size_t writeAll(const char *bytes, size_t length)
{
    size_t sent = 0;
    while (sent < length) {
        const ssize_t written = write(fd, bytes + sent, length - sent);
        if (written > 0)
            sent += static_cast<size_t>(written);
        else if (written == 0 || errno != EINTR)
            break;
    }
    size += static_cast<int64_t>(sent);
    return sent;
}

// Writes all lines, or as many whole ones as there is room for, and removes the beginning
// of one that did not fit. Where that is not possible, as in a pipe, the next record
// begins on a new line.
bool writeLines(const char *lines, size_t length)
{
    if (halfLine && writeAll("\n", 1) != 1)
        return false;
    halfLine = false;
    const size_t sent = writeAll(lines, length);
    if (sent == length)
        return true;
    const int reason = errno;
    const char *end = static_cast<const char *>(memrchr(lines, '\n', sent));
    const size_t begun = end == nullptr ? sent : sent - static_cast<size_t>(end + 1 - lines);
    const int64_t whole = size - static_cast<int64_t>(begun);
    if (begun != 0 && path != nullptr && ftruncate(fd, static_cast<off_t>(whole)) == 0)
        size = whole;
    else
        halfLine = begun != 0;
    errno = reason;
    return false;
}

} // namespace

bool outputOpen(const char *file, int64_t maxSize)
{
    path = file;
    boundWanted = maxSize;
    bound = maxSize;
    return path == nullptr || fileOpen();
}

void outputReopen()
{
    outputFlush();
    if (path != nullptr && fileOpen())
        bound = boundWanted;
}

void outputWrite(const char *line, size_t length)
{
    const int64_t after = size + static_cast<int64_t>(pendingSize + length);
    const bool turns = path != nullptr && bound != 0 && after > bound;
    if (turns || length > sizeof(pending) - pendingSize)
        outputFlush();
    if (turns && size != 0)
        fileTurn();
    memcpy(pending + pendingSize, line, length);
    pendingSize += length;
}

void outputFlush()
{
    if (pendingSize == 0)
        return;
    const bool written = writeLines(pending, pendingSize);
    pendingSize = 0;
    if (!written && !failed)
        fprintf(stderr,
                "swlogd: cannot write the log: %s; records are lost until writing works again\n",
                strerror(errno));
    failed = !written;
}

} // namespace logd
