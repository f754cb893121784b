#include "client/records/journal.h"

#include "client/base/failure.h"
#include "client/base/file.h"
#include "client/base/text.h"
#include "client/rows/row_json.h"
#include "common/clock.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace swctl {
namespace {

constexpr int napMs = 20;                        // between attempts to get the lock
constexpr size_t mostJournal = 64 * 1024 * 1024; // bytes

} // namespace

ChangeLock::ChangeLock(const std::string &databasePath) : path(databasePath + ".lock")
{
    file.reset(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0660));
    if (!file.valid())
        failFile("cannot use the lock", path);
    locked = take();
}

bool ChangeLock::take()
{
    if (flock(file.get(), LOCK_EX | LOCK_NB) == 0)
        return true;
    if (errno != EWOULDBLOCK && errno != EINTR)
        failFile("cannot lock", path);
    return false;
}

void ChangeLock::wait(int seconds)
{
    int64_t left = int64_t{seconds} * 1000; // ms
    while (!locked) {
        if (left <= 0)
            throw Failure(exitUnreachable, "another swctl is still changing this database; nothing "
                                           "was done. Try again, or wait longer with --wait");
        poll(nullptr, 0, napMs);
        left -= napMs;
        locked = take();
    }
}

Journal::Journal(const std::string &databasePath) : path(databasePath + ".change") {}

bool Journal::isThere() const
{
    return access(path.c_str(), F_OK) == 0;
}

std::optional<ChangeSet> Journal::unfinished() const
{
    const std::optional<std::string> contents = fileContents(path, mostJournal);
    if (!contents)
        return std::nullopt;
    const Json json = Json::parseOrNull(*contents);
    std::optional<ChangeSet> changes = changeSetOf(json);
    if (!changes)
        throw Failure(exitUsage, printable(path) + " is damaged: compare the configuration with "
                                                   "'swctl diff', then remove the file");
    return changes;
}

void Journal::begin(const ChangeSet &changes) const
{
    replaceFile(path, toJson(changes).oneLine());
}

void Journal::end() const
{
    removeFile(path);
}

} // namespace swctl
