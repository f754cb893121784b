// Trials; see the header.
#include "client/change/confirm.h"

#include "client/base/file.h"
#include "client/base/json.h"
#include "client/base/outcome.h"
#include "client/base/text.h"
#include "client/change/history.h"
#include "client/change/journal.h"
#include "client/rows/row_json.h"
#include "client/service/service.h"
#include "common/clock.h"
#include "common/descriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>

namespace swctl {
namespace {

constexpr size_t mostTrial = 64 * 1024 * 1024; // bytes
constexpr int napMs = 200;                     // between looks at the file
constexpr int trialFd = STDERR_FILENO + 1;     // of the watching process
constexpr int longestWait = 3600;              // s, for another swctl

std::string trialPath(const std::string &databasePath)
{
    return databasePath + ".trial";
}

// The watching process holds a lock on the file that no other one asks for.
bool isWatched(const std::string &path)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    return file.valid() && flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// With the lock on the trial's file, which travels with its descriptor.
void startWatcher(const ChangeOptions &options, int lockedFile, int seconds)
{
    std::vector<std::string> words = {"swctl", "--database", options.databasePath};
    if (!options.siteFile.empty())
        words.insert(words.end(), {"--site", options.siteFile});
    words.insert(words.end(), {"confirm", "--watch", std::to_string(seconds)});
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&actions, lockedFile, trialFd);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    pid_t pid = 0;
    const int status =
        posix_spawn(&pid, "/proc/self/exe", &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0)
        throw Failure(exitUsage, std::string("a process that would take the change back cannot be "
                                             "started: ") +
                                     strerror(status));
}

// While it is open no other file can have its number.
bool isThisTrial(const std::string &path)
{
    struct stat mine = {};
    struct stat there = {};
    return fstat(trialFd, &mine) == 0 && stat(path.c_str(), &there) == 0 &&
           mine.st_ino == there.st_ino && mine.st_dev == there.st_dev;
}

} // namespace

std::optional<Trial> trialOf(const std::string &databasePath)
{
    const std::string path = trialPath(databasePath);
    const std::optional<std::string> contents = fileContents(path, mostTrial);
    if (!contents)
        return std::nullopt;
    try {
        const Json json = Json::parse(*contents);
        std::optional<ChangeSet> changes = changeSetOf(json.at("change").dump());
        if (changes)
            return Trial{std::move(*changes), json.at("deadline"), isWatched(path)};
    } catch (const Json::exception &) {
        // Said below.
    }
    throw Failure(exitUsage, printable(path) + " is damaged: compare the configuration with "
                                               "'swctl diff', then remove the file");
}

void beginTrial(const ChangeOptions &options, const ChangeSet &changes, int seconds)
{
    const std::string path = trialPath(options.databasePath);
    const Json json = {{"deadline", time(nullptr) + seconds},
                       {"change", Json::parse(toJson(changes))}};
    replaceFile(path, json.dump());
    const Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    // Who only looks whether it is watched holds the lock for a moment, too.
    if (!file.valid() || flock(file.get(), LOCK_EX) != 0)
        throw Failure(exitUsage, "cannot lock " + printable(path) + ": " + strerror(errno));
    startWatcher(options, file.get(), seconds);
}

void endTrial(const std::string &databasePath)
{
    removeFile(trialPath(databasePath));
}

Verdict takeBackTrial(const ChangeOptions &options, const Trial &trial)
{
    ChangeOptions quiet = options;
    quiet.onTrial = 0;
    // The newest entry is its own, unless swctl was ended before it wrote that.
    const std::vector<HistoryEntry> entries = History(options.databasePath).entries();
    if (!entries.empty() && toJson(entries.back().changes) == toJson(trial.changes))
        quiet.undoes = entries.back().number;
    quiet.recovering = true;
    quiet.force = true; // as it was before, whatever a check says of that
    quiet.offline = !serviceAnswers();
    const Plan plan = [&trial](Database &database) {
        // It was written down before it was committed, and may never have been.
        if (rowsAreBefore(database, trial.changes))
            return ChangeSet();
        ChangeSet back = reversed(trial.changes);
        back.what = trial.changes.what;
        back.verb = "taken back, as nobody confirmed that it was " + trial.changes.verb;
        return back;
    };
    Verdict verdict;
    try {
        verdict = carryOut(quiet, plan);
        if (verdict.word == Word::refused) {
            // The rows go back all the same, for the next start to apply.
            quiet.offline = true;
            verdict = carryOut(quiet, plan);
            verdict.word = Word::differs;
            verdict.note = "the service refused it; its next start applies the rows";
        }
    } catch (const Failure &failure) {
        if (failure.status != exitRefused)
            throw;
        // Somebody else has changed the rows since: they have the last word.
        verdict.word = Word::differs;
        verdict.changes = trial.changes;
        verdict.note = failure.what();
    }
    if (verdict.word != Word::unanswered)
        endTrial(options.databasePath);
    return verdict;
}

int watchTrial(const ChangeOptions &options, int seconds)
{
    signal(SIGHUP, SIG_IGN);
    signal(SIGINT, SIG_IGN);
    const std::string path = trialPath(options.databasePath);
    const int64_t end = millisecondsNow(CLOCK_BOOTTIME) + int64_t{seconds} * 1000;
    while (isThisTrial(path) && millisecondsNow(CLOCK_BOOTTIME) < end)
        poll(nullptr, 0, napMs);
    const ChangeLock lock(options.databasePath, longestWait, [] {});
    if (!isThisTrial(path))
        return exitDone; // confirmed, or taken back by somebody else
    if (const std::optional<Trial> trial = trialOf(options.databasePath))
        return wordStatus(takeBackTrial(options, *trial).word);
    return exitDone;
}

std::string clockText(int64_t time)
{
    return dateText(time).substr(dateText(0).size() - strlen("12:30:05"));
}

std::string dateText(int64_t time)
{
    const auto seconds = static_cast<time_t>(time);
    tm broken = {};
    localtime_r(&seconds, &broken);
    char text[32];
    strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &broken);
    return text;
}

} // namespace swctl
