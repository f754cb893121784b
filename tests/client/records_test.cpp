// What is kept beside the database: history, the unfinished change with its lock, the trial.
#include "gateway.h"

#include "client/base/failure.h"
#include "client/records/history.h"
#include "client/records/journal.h"
#include "client/records/trial.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace std::string_literals;

namespace swctl::test {
namespace {

struct Records : Played {
    Database database{databaseFile(), Access::read};

    ChangeSet removal(int64_t rowId, const char *table = "vlanEncapIf")
    {
        return {"row " + std::to_string(rowId),
                "deleted",
                {{table, database.rowById(table, rowId), std::nullopt}},
                {}};
    }
    void append(const std::string &suffix, const std::string &text) const
    {
        std::ofstream(databaseFile() + suffix, std::ios::app) << text;
    }
};

TEST_F(Records, ofTheHistoryCountUpAndSayWhatWhenWhoAndHow)
{
    History history(databaseFile());
    EXPECT_TRUE(history.entries().empty());
    ChangeSet second = removal(2);
    second.undoes = 1;
    EXPECT_EQ(history.add(1000, "applied", removal(1), true), 1);
    EXPECT_EQ(history.add(2000, "refused", second, false), 2);
    append(".history", "{\"number\": 9}\n\nnonsense\n");
    EXPECT_EQ(History(databaseFile()).add(3000, "written", removal(3), false), 3);
    append(".history", R"({"number": 77, "time": 1)"); // the power went
    EXPECT_EQ(history.entries().size(), 2u) << "read once";
    std::vector<HistoryEntry> all = History(databaseFile()).entries();
    ASSERT_EQ(all.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(all[i].number, static_cast<int>(i) + 1);
        EXPECT_EQ(all[i].time, static_cast<int64_t>(i + 1) * 1000);
        EXPECT_EQ(all[i].who, getpwuid(getuid())->pw_name);
        EXPECT_EQ(all[i].outcome, (std::vector{"applied", "refused", "written"}[i]));
        EXPECT_EQ(all[i].verified, i == 0);
        EXPECT_EQ(all[i].changes.undoes, i == 1 ? 1 : 0);
        EXPECT_EQ(all[i].changes.what, "row " + std::to_string(i + 1));
        EXPECT_EQ(all[i].changes.rows[0].before->rowId, static_cast<int64_t>(i) + 1);
    }
    EXPECT_EQ(History(databaseFile()).add(4000, "applied", removal(1), true), 4)
        << "behind the line that was cut";
    all = History(databaseFile()).entries();
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[3].number, 4);
}

TEST_F(Records, ofTheHistoryKeepRowsAndWhereTheyCameFrom)
{
    History history(databaseFile());
    ChangeSet changes = removal(1);
    changes.through = "vlan delete";
    changes.comment = "moved to \"the\" attic";
    changes.undoesTo = 0;
    HistoryEntry first;
    first.changes = changes;
    first.outcome = "applied";
    EXPECT_EQ(history.add(first), 1);
    HistoryEntry second = first;
    second.changes.rows.clear();
    second.outcome = "confirmed";
    second.concerns = int64_t{1} << 40;
    second.done = {"VLAN 10 cleared", "802.1Q of the chip sent: on"};
    EXPECT_EQ(history.add(second), 2);
    HistoryEntry third = first;
    third.stands = false;
    third.changes.comment.clear();
    EXPECT_EQ(history.add(third), 3);
    const std::vector<HistoryEntry> all = History(databaseFile()).entries();
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].changes.through + ", " + all[0].changes.comment,
              "vlan delete, moved to \"the\" attic");
    EXPECT_EQ(all[0].changes.undoesTo, 0);
    EXPECT_TRUE(all[0].changedRows());
    EXPECT_TRUE(all[0].changes.rows[0].before->sameAs(*changes.rows[0].before));
    EXPECT_EQ(all[1].concerns, int64_t{1} << 40);
    EXPECT_EQ(all[1].done, second.done);
    EXPECT_FALSE(all[1].changedRows() || all[2].changedRows());
    EXPECT_EQ(History(databaseFile()).numberOf(changes), 1);
    EXPECT_EQ(History(databaseFile()).numberOf(third.changes), 3);
    EXPECT_EQ(History(databaseFile()).numberOf(removal(2)), 0);
    // Numbers go on beyond 32 bits, and lines of older versions are still read.
    const std::string line =
        R"({"number": 5000000000, "time": 1, "who": "x", "outcome": "refused",)"
        R"( "undoes": 0, "change": {"what": "a", "verb": "b", "rows": []}})";
    append(".history", line + "\n");
    EXPECT_EQ(History(databaseFile()).add(first), 5000000001);
    EXPECT_FALSE(History(databaseFile()).entries().at(3).stands);
}

TEST_F(Records, ofTheHistoryNameWhoeverLentTheRight)
{
    setenv("SUDO_USER", "somebody", 1);
    History history(databaseFile());
    history.add(1000, "applied", removal(1), true);
    unsetenv("SUDO_USER");
    EXPECT_EQ(history.entries().at(0).who,
              getuid() == 0 ? "somebody" : getpwuid(getuid())->pw_name);
}

TEST_F(Records, ofTheHistoryLoseTheOlderHalfWhenThereAreTooMany)
{
    History history(databaseFile());
    ChangeSet large = removal(1);
    large.what = std::string(100000, 'x');
    uintmax_t before = 0, after = 0;
    int64_t number = 0;
    for (uintmax_t kept = 0; kept >= before; kept = after) {
        before = kept;
        number = history.add(1000, "applied", large, true);
        after = std::filesystem::file_size(databaseFile() + ".history");
        ASSERT_LT(number, 15) << after;
        if (after < before)
            break;
    }
    EXPECT_GT(before, 1000000u);
    EXPECT_LE(before, 1024u * 1024 + 110000);
    EXPECT_GT(after, 450000u);
    EXPECT_LT(after, 650000u);
    for (const History &one : {history, History(databaseFile())}) {
        const std::vector<HistoryEntry> all = one.entries();
        EXPECT_EQ(all.back().number, number);
        EXPECT_EQ(all.front().number, number - static_cast<int>(all.size()) + 1);
        EXPECT_GT(all.front().number, 1);
    }
    EXPECT_EQ(history.add(1000, "applied", removal(1), true), number + 1);
    EXPECT_GT(std::filesystem::file_size(databaseFile() + ".history"), after);
}

TEST_F(Records, ofTheHistoryThatAreLargeGoWithTheOldOnes)
{
    History history(databaseFile());
    ChangeSet large = removal(1);
    large.what = std::string(1200000, 'x');
    for (const ChangeSet &changes : {removal(2), removal(2), large, removal(2), removal(2)})
        history.add(1000, "applied", changes, true);
    const std::vector<HistoryEntry> all = History(databaseFile()).entries();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all.front().number, 4);
    EXPECT_EQ(all.back().number, 5);
}

TEST_F(Records, ofTheHistoryTellWhatTheServiceHasNotHeard)
{
    History history(databaseFile());
    const ChangeSet port = removal(1, "swPortConfig"), sw = removal(2, "swGlobalCfg");
    ChangeSet newPort = removal(3, "swPortConfig");
    std::swap(newPort.rows[0].before, newPort.rows[0].after);
    ChangeSet two = removal(4, "swPortConfig");
    two.rows.push_back(removal(5, "swPortConfig").rows[0]);
    history.add(1000, "applied", port, true);
    history.add(2000, "refused", port, true);
    history.add(3000, "applied", removal(1), true);
    history.add(4000, "applied", newPort, true);
    history.add(5000, "written", newPort, false);
    history.add(6000, "written", removal(1), false);
    history.add(7000, "differs", sw, true);
    history.add(8000, "applied", two, true);
    const std::pair<int64_t, std::vector<int64_t>> cases[] = {
        {8001, {}},           {8000, {5, 4}},       {7000, {5, 4, 2}},   {5000, {5, 4, 2, 3}},
        {4000, {5, 4, 2, 3}}, {1001, {5, 4, 2, 3}}, {0, {5, 4, 2, 3, 1}}};
    for (const auto &[start, expected] : cases) {
        std::vector<int64_t> found;
        for (const RowChange &change : history.unheardSince(start))
            found.push_back(change.rowId());
        EXPECT_EQ(found, expected) << start;
    }
}

TEST_F(Records, ofAnUnfinishedChangeStayUntilItIsEnded)
{
    const Journal journal(databaseFile());
    EXPECT_FALSE(journal.isThere());
    EXPECT_FALSE(journal.unfinished());
    EXPECT_NO_THROW(journal.end());
    journal.begin(removal(1));
    journal.begin(removal(2));
    EXPECT_TRUE(journal.isThere());
    const ChangeSet read = Journal(databaseFile()).unfinished().value();
    EXPECT_EQ(read.what, "row 2");
    EXPECT_TRUE(read.rows.at(0).before->sameAs(database.rowById("vlanEncapIf", 2).value()));
    journal.end();
    EXPECT_FALSE(journal.isThere());
    write("switch.db.change", R"({"what": "row 2", "ver)");
    EXPECT_TRUE(journal.isThere());
    EXPECT_THROW(static_cast<void>(journal.unfinished()), Failure);
}

TEST_F(Records, areChangedByOneAtATime)
{
    auto first = std::make_unique<ChangeLock>(databaseFile());
    EXPECT_TRUE(first->held());
    first->wait(0);
    ChangeLock second(databaseFile());
    EXPECT_FALSE(second.held());
    EXPECT_THROW(second.wait(0), Failure);
    const int64_t began = time(nullptr);
    EXPECT_THROW(second.wait(1), Failure);
    EXPECT_LE(time(nullptr) - began, 3);
    std::thread ends([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        first.reset();
    });
    EXPECT_NO_THROW(second.wait(5));
    ends.join();
    EXPECT_TRUE(second.held());
    EXPECT_THROW(ChangeLock("/nonexistent/db"), Failure);
}

TEST_F(Records, areForTheirGroupAndLeadNowhereElse)
{
    const mode_t mask = umask(0);
    const ChangeLock own(databaseFile());
    const Journal journal(databaseFile());
    History history(databaseFile());
    journal.begin(removal(1));
    history.add(1000, "applied", removal(1), true);
    umask(mask);
    for (const char *suffix : {".lock", ".change", ".history"}) {
        struct stat about = {};
        ASSERT_EQ(stat((databaseFile() + suffix).c_str(), &about), 0);
        EXPECT_EQ(about.st_mode & 07777, 0660u) << suffix;
    }
    write("elsewhere", "");
    ASSERT_EQ(symlink(file("elsewhere").c_str(), file("other.db.lock").c_str()), 0);
    EXPECT_THROW(ChangeLock(file("other.db")), Failure);
}

TEST_F(Records, areNotHeldByTheProcessThatWatches)
{
    {
        const ChangeLock own(databaseFile());
        ASSERT_TRUE(own.held());
        beginTrial(databaseFile(), file("site.json"), removal(2), 600);
    }
    usleep(100000); // a process that does not understand its words is gone by then
    EXPECT_TRUE(trialOf(databaseFile())->watched);
    EXPECT_TRUE(ChangeLock(databaseFile()).held());
    endTrial(databaseFile());
}

// One that was confirmed has nothing to do with the next.
TEST_F(Records, ofATrialAreWatchedByTheirOwnProcessAlone)
{
    for (int times = 0; times < 2; ++times) {
        endTrial(databaseFile());
        beginTrial(databaseFile(), "", removal(2), 600);
    }
    usleep(600000); // by then the first process has looked
    EXPECT_TRUE(isOnTrial(databaseFile()));
    endTrial(databaseFile());
}

// Whoever reads what swctl prints would wait for its end for as long.
TEST_F(Records, ofATrialLeaveTheOutputAlone)
{
    int output[2];
    ASSERT_EQ(pipe(output), 0);
    const pid_t caller = fork();
    if (caller == 0) {
        for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            dup2(output[1], fd);
        close(output[1]);
        beginTrial(databaseFile(), "", removal(2), 600);
        _exit(0);
    }
    close(output[1]);
    int status = -1;
    EXPECT_EQ(waitpid(caller, &status, 0), caller);
    EXPECT_EQ(status, 0);
    pollfd end = {output[0], POLLIN, 0};
    EXPECT_EQ(poll(&end, 1, 5000), 1);
    EXPECT_EQ(end.revents, POLLHUP);
    EXPECT_TRUE(trialOf(databaseFile())->watched);
    close(output[0]);
    endTrial(databaseFile());
}

// In a process of its own, as it has the trial's file at a fixed descriptor.
TEST_F(Records, ofATrialAreAwaitedWhateverTheTerminalSends)
{
    constexpr int trialFd = 3;
    write("switch.db.trial", "{}");
    int begins[2];
    ASSERT_EQ(pipe(begins), 0);
    const pid_t watcher = fork();
    if (watcher == 0) {
        const int kept = open((databaseFile() + ".trial").c_str(), O_RDONLY);
        const int tell = fcntl(begins[1], F_DUPFD, 10);
        dup2(kept, trialFd);
        std::thread([tell] {
            usleep(100000);
            static_cast<void>(::write(tell, "", 1) == 1);
        }).detach();
        awaitTrialEnd(databaseFile(), 30);
        _exit(watchedTrialStands(databaseFile()) ? 1 : 0);
    }
    char byte = 0;
    ASSERT_EQ(read(begins[0], &byte, 1), 1);
    kill(watcher, SIGINT);
    kill(watcher, SIGHUP);
    usleep(100000);
    endTrial(databaseFile());
    int status = -1;
    EXPECT_EQ(waitpid(watcher, &status, 0), watcher);
    EXPECT_EQ(status, 0);
    close(begins[0]);
    close(begins[1]);
}

TEST_F(Records, ofATrialHoldTheChangeItsEndAndWhetherAProcessWatches)
{
    EXPECT_FALSE(isOnTrial(databaseFile()));
    EXPECT_FALSE(trialOf(databaseFile()));
    const int64_t now = time(nullptr);
    beginTrial(databaseFile(), "", removal(2), 600);
    const Trial trial = trialOf(databaseFile()).value();
    EXPECT_TRUE(isOnTrial(databaseFile()));
    EXPECT_TRUE(trial.watched);
    EXPECT_GE(trial.deadline, now + 600);
    EXPECT_LE(trial.deadline, time(nullptr) + 600);
    EXPECT_EQ(trial.changes.what, "row 2");
    EXPECT_EQ(trial.changes.rows.at(0).rowId(), 2);
    // The watching process ends when its file is gone.
    ASSERT_EQ(link((databaseFile() + ".trial").c_str(), file("kept").c_str()), 0);
    endTrial(databaseFile());
    EXPECT_FALSE(isOnTrial(databaseFile()));
    const int kept = open(file("kept").c_str(), O_RDONLY);
    int taken = -1;
    for (int tries = 0; taken != 0 && tries < 500; ++tries, usleep(10000))
        taken = flock(kept, LOCK_EX | LOCK_NB);
    EXPECT_EQ(taken, 0);
    close(kept);
    std::filesystem::rename(file("kept"), databaseFile() + ".trial");
    EXPECT_FALSE(trialOf(databaseFile())->watched);
    for (const char *damaged : {"", "{}", "[", R"({"deadline": 1, "change": {}})",
                                R"({"change": {"what":"","verb":"","rows":[]}})"}) {
        write("switch.db.trial", damaged);
        EXPECT_TRUE(isOnTrial(databaseFile()));
        EXPECT_THROW(static_cast<void>(trialOf(databaseFile())), Failure) << damaged;
    }
}

} // namespace
} // namespace swctl::test
