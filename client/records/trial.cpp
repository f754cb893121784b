// The watching process is another instance of this program. It holds a lock on the trial's
// file, which shows others that it is running.
#include "client/records/trial.h"

#include "client/base/failure.h"
#include "client/base/file.h"
#include "client/base/program.h"
#include "client/base/text.h"
#include "client/rows/row_json.h"
#include "common/clock.h"
#include "common/descriptor.h"
#include "common/json.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <vector>

namespace swctl {
namespace {

constexpr size_t mostTrial = 64 * 1024 * 1024; // bytes
constexpr int napMs = 200;                     // between checks of the file
constexpr int trialFd = STDERR_FILENO + 1;     // in the watching process

std::string trialPath(const std::string &databasePath)
{
    return databasePath + ".trial";
}

// Only the watching process holds this lock for longer than a moment.
bool isWatched(const std::string &path)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    return file.valid() && flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// The watcher inherits the lock on the trial's file with its descriptor.
void startWatcher(const std::string &databasePath, const std::string &siteFile, int lockedFile,
                  int seconds)
{
    std::vector<std::string> words = {"swctl", "--database", databasePath};
    if (!siteFile.empty())
        words.insert(words.end(), {"--site", siteFile});
    words.insert(words.end(), {"confirm", "--watch", std::to_string(seconds)});
    pid_t pid = 0;
    const int status = startProgram("/proc/self/exe",
                                    {.words = words,
                                     .passed = {{lockedFile, trialFd}},
                                     .silenced = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO},
                                     .ownSession = true},
                                    pid);
    if (status != 0)
        throw Failure(exitUsage, std::string("a process that would take the change back cannot be "
                                             "started: ") +
                                     strerror(status));
}

} // namespace

bool Trial::isLeft() const
{
    constexpr int64_t grace = 5; // s in which a watcher that is alive does it
    return !watched || deadline + grace < time(nullptr);
}

std::optional<Trial> trialOf(const std::string &databasePath)
{
    const std::string path = trialPath(databasePath);
    const std::optional<std::string> contents = fileContents(path, mostTrial);
    if (!contents)
        return std::nullopt;
    try {
        const Json json = Json::parse(*contents);
        std::optional<ChangeSet> changes = changeSetOf(json.at("change"));
        if (changes)
            return Trial{std::move(*changes), json.at("deadline").integer(), isWatched(path)};
    } catch (const JsonError &) {
        // Reported below.
    }
    throw Failure(exitUsage, printable(path) + " is damaged: compare the configuration with "
                                               "'swctl diff', then remove the file");
}

bool isOnTrial(const std::string &databasePath)
{
    return access(trialPath(databasePath).c_str(), F_OK) == 0;
}

void beginTrial(const std::string &databasePath, const std::string &siteFile,
                const ChangeSet &changes, int seconds)
{
    const std::string path = trialPath(databasePath);
    const Json json = {{"deadline", time(nullptr) + seconds}, {"change", toJson(changes)}};
    replaceFile(path, json.oneLine());
    const Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    // Block, because isWatched() holds the lock for a moment, too.
    if (!file.valid() || flock(file.get(), LOCK_EX) != 0)
        throw Failure(exitUsage, "cannot lock " + printable(path) + ": " + strerror(errno));
    startWatcher(databasePath, siteFile, file.get(), seconds);
}

void endTrial(const std::string &databasePath)
{
    removeFile(trialPath(databasePath));
}

// While the descriptor is open, no other file can have its inode number.
bool watchedTrialStands(const std::string &databasePath)
{
    struct stat mine = {};
    struct stat there = {};
    return fstat(trialFd, &mine) == 0 && stat(trialPath(databasePath).c_str(), &there) == 0 &&
           mine.st_ino == there.st_ino && mine.st_dev == there.st_dev;
}

void awaitTrialEnd(const std::string &databasePath, int seconds)
{
    signal(SIGHUP, SIG_IGN);
    signal(SIGINT, SIG_IGN);
    const int64_t end = millisecondsNow(CLOCK_BOOTTIME) + int64_t{seconds} * 1000;
    while (watchedTrialStands(databasePath) && millisecondsNow(CLOCK_BOOTTIME) < end)
        poll(nullptr, 0, napMs);
}

} // namespace swctl
