// Writes the file under another name, locks it, and moves it into place.
#include "host/served_file.h"

#include "common/descriptor.h"
#include "common/served_file.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constinit const char *database = nullptr;
constinit int locked = -1; // the descriptor of the file, open while it exists

using Path = char[PATH_MAX];

bool pathOf(Path &path, const char *ending)
{
    const int length =
        snprintf(path, sizeof(path), "%s/%s%s", relayDirectory(), servedFileName, ending);
    return length > 0 && length < static_cast<int>(sizeof(path));
}

bool writeTo(int file)
{
    struct stat about = {};
    Path resolved;
    if (stat(database, &about) != 0 || realpath(database, resolved) == nullptr)
        return false;
    return dprintf(file, servedFileFormat, static_cast<uintmax_t>(about.st_dev),
                   static_cast<uintmax_t>(about.st_ino), resolved) > 0 &&
           flock(file, LOCK_EX | LOCK_NB) == 0;
}

} // namespace

void servedFileIs(const char *path)
{
    database = path;
}

void servedFilePublish()
{
    Path path;
    Path fresh;
    if (database == nullptr || locked >= 0 || !pathOf(path, "") || !pathOf(fresh, ".new"))
        return;
    unlink(fresh); // left by a service that was ended while writing
    constexpr mode_t forEverybody = 0644;
    Descriptor file(open(fresh, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, forEverybody));
    if (!file.valid() && errno == ENOENT)
        return; // another messaging implementation, which has no such folder
    if (!file.valid() || !writeTo(file.get()) || rename(fresh, path) != 0) {
        fprintf(stderr,
                "swmgrd: %s cannot be written: %s; clients cannot check which database "
                "is served\n",
                path, strerror(errno));
        unlink(fresh);
        return;
    }
    locked = file.release();
}

void servedFileWithdraw()
{
    Path path;
    struct stat mine = {};
    struct stat there = {};
    if (locked < 0)
        return;
    // If the folder was replaced, the file there belongs to another service.
    if (pathOf(path, "") && fstat(locked, &mine) == 0 && lstat(path, &there) == 0 &&
        mine.st_ino == there.st_ino && mine.st_dev == there.st_dev)
        unlink(path);
    close(locked);
    locked = -1;
}
