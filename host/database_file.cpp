// Existence, access and the first bytes of a database file, and its journal.
#include "host/database_file.h"

#include "common/database_journal.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char magic[] = "SQLite format 3"; // 16 bytes with its terminator

const char *contentFault(int fd)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0)
        return strerror(errno);
    if (!S_ISREG(status.st_mode))
        return "not a regular file";
    if (status.st_size == 0)
        return nullptr; // a database without tables yet
    char head[sizeof(magic)] = {};
    const ssize_t length = read(fd, head, sizeof(head));
    if (length < 0)
        return strerror(errno);
    const bool known =
        length == static_cast<ssize_t>(sizeof(head)) && memcmp(head, magic, sizeof(head)) == 0;
    return known ? nullptr : "not an SQLite database";
}

} // namespace

const char *databaseFileFault(const char *path)
{
    // Non-blocking: the path may be a pipe that nobody writes to.
    const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return strerror(errno);
    const char *fault = contentFault(fd);
    close(fd);
    return fault != nullptr ? fault : databaseJournalFault(path);
}
