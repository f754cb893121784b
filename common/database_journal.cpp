// Reads the end of a rollback journal, which holds a page number, a name, its length and
// checksum, and the journal magic if it names a second file.
#include "common/database_journal.h"

#include "common/descriptor.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>

namespace {

constexpr uint8_t magic[8] = {0xd9, 0xd5, 0x05, 0xf9, 0x20, 0xa1, 0x63, 0xd7};

struct Tail {
    uint8_t length[4]; // of the name, big-endian
    uint8_t checksum[4];
    uint8_t magic[8];
};
static_assert(sizeof(Tail) == 16);

constinit sqlite3_vfs limited = {};         // the default VFS, with deletions limited
constinit sqlite3_vfs *unlimited = nullptr; // the default VFS; set together with `limited`
constinit char database[PATH_MAX] = {};     // whose journals may be deleted

int deleteOwn(sqlite3_vfs * /*vfs*/, const char *name, int syncFolder)
{
    const size_t length = strlen(database);
    const bool own = strncmp(name, database, length) == 0 &&
                     (strcmp(name + length, "-journal") == 0 || strcmp(name + length, "-wal") == 0);
    return own ? unlimited->xDelete(unlimited, name, syncFolder) : SQLITE_IOERR_DELETE;
}

constexpr uint8_t noName[4] = {};

const char *contentFault(int journal)
{
    struct stat about = {};
    if (fstat(journal, &about) != 0)
        return strerror(errno);
    if (!S_ISREG(about.st_mode))
        return "its journal is not a regular file";
    Tail tail = {};
    if (about.st_size < static_cast<off_t>(sizeof(tail)))
        return nullptr;
    const ssize_t length =
        pread(journal, &tail, sizeof(tail), about.st_size - static_cast<off_t>(sizeof(tail)));
    if (length != static_cast<ssize_t>(sizeof(tail)))
        return "its journal cannot be read";
    // The checksum is not verified: whoever plants a name can compute it, too.
    const bool names = memcmp(tail.magic, magic, sizeof(magic)) == 0 &&
                       memcmp(tail.length, noName, sizeof(noName)) != 0;
    return names ? "its journal names another file, which opening the database would delete; "
                   "find out who wrote it, and move it away"
                 : nullptr;
}

} // namespace

const char *databaseJournalFault(const char *path)
{
    constexpr char ending[] = "-journal";
    char resolved[PATH_MAX + sizeof(ending)];
    if (realpath(path, resolved) == nullptr)
        return errno == ENOENT ? nullptr : strerror(errno);
    memcpy(resolved + strlen(resolved), ending, sizeof(ending));
    // Non-blocking, because it may be a pipe without a writer.
    const Descriptor journal(open(resolved, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (journal.valid())
        return contentFault(journal.get());
    if (errno == ELOOP)
        return "its journal is a symbolic link";
    // SQLite cannot read a journal that this process may not read, either.
    return errno == ENOENT || errno == EACCES ? nullptr : strerror(errno);
}

bool databaseDeletionsLimit(const char *path)
{
    if (realpath(path, database) == nullptr)
        return false;
    if (unlimited != nullptr)
        return true;
    unlimited = sqlite3_vfs_find(nullptr);
    if (unlimited == nullptr)
        return false;
    limited = *unlimited;
    limited.pNext = nullptr;
    limited.zName = "own-journals";
    limited.xDelete = deleteOwn;
    return sqlite3_vfs_register(&limited, /*makeDflt=*/1) == SQLITE_OK;
}

bool databaseFolderResolve(const char *path, char *resolved)
{
    const char *slash = strrchr(path, '/');
    const char *name = slash != nullptr ? slash + 1 : path;
    char folder[PATH_MAX];
    const int length = slash == nullptr ? snprintf(folder, sizeof(folder), ".")
                                        : snprintf(folder, sizeof(folder), "%.*s/",
                                                   static_cast<int>(slash - path), path);
    char found[PATH_MAX];
    if (length < 0 || length >= static_cast<int>(sizeof(folder)) ||
        realpath(folder, found) == nullptr)
        return false;
    const int whole = snprintf(resolved, PATH_MAX, "%s/%s", found, name);
    return whole > 0 && whole < PATH_MAX;
}
