// The operating-system layer as its callers see it: command lines, devices and waiting
// for a locked database.
#include "platform/database.h"
#include "platform/sal.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <net/if.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// A temporary directory, removed at the end of the test.
class Directory {
public:
    Directory()
    {
        char name[] = "/tmp/standins.XXXXXX";
        path = mkdtemp(name);
    }
    ~Directory() { fs::remove_all(path); }
    std::string file(const char *name) const { return (path / name).string(); }

private:
    fs::path path;
};

// Under emulation, the exit status may say only that a command could not be run, but not
// why.
bool spawnTellsWhy()
{
    char name[] = "/no/such/tool";
    char *words[] = {name, nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, name, nullptr, nullptr, words, nullptr) != 0)
        return true;
    waitpid(pid, nullptr, 0);
    return false;
}

TEST(SalCmdExec, tellsHowACommandEnded)
{
    const Directory directory;
    const std::string script = directory.file("script");
    std::ofstream(script) << "exit 7\n"; // no interpreter line
    fs::permissions(script, fs::perms::owner_all);
    const std::string data = directory.file("data");
    std::ofstream(data) << "text";
    const struct {
        std::string line;
        int result;
    } cases[] = {
        {"true", 0},
        {"  test  a=b,c+d%e@f:1.2/3-4   =\ta=b,c+d%e@f:1.2/3-4 ", 0},
        {"false", 1},
        {"", 0},
        {" \t ", 0},
        {"expr length " + std::string(900, 'x') + " = 900", 0},
        {script, spawnTellsWhy() ? 7 : -ENOENT},
        {"exit 3;", 3},
        {"test -z \"$NO_SUCH_VARIABLE\"", 0},
        {"/no/such/tool set 1", -ENOENT},
        {data, spawnTellsWhy() ? -EACCES : -ENOENT},
        {"/no/such/tool;", -ENOENT},
        {data + " ;", -EACCES},
        {"kill -KILL $$", -(128 + SIGKILL)},
    };
    for (const auto &[line, result] : cases)
        EXPECT_EQ(salCmdExec(line.c_str(), 0, 0), result) << line;
    EXPECT_EQ(salCmdExec(nullptr, 0, 0), -EINVAL);
}

TEST(SalCmdExec, startsACommandWithDefaultsWhateverTheHostDoes)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);
    const auto old = signal(SIGPIPE, SIG_IGN);
    signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(salCmdExec("grep -q SigBlk:.0000000000000000 /proc/self/status", 0, 0), 0);
    EXPECT_EQ(
        salCmdExec("grep -Eq 'SigIgn:.[0-9a-f]*[02468ace][0-9a-f]{3}$' /proc/self/status", 0, 0),
        0);
    EXPECT_EQ(salCmdExec("grep -q x", 0, 0), 1); // nothing to read: ends at once
    EXPECT_EQ(signal(SIGCHLD, SIG_DFL), SIG_IGN);
    signal(SIGPIPE, old);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

// The pauses add up to 5 s with the 56th.
TEST(SalDatabase, waitsForALockUntilALimit)
{
    EXPECT_NE(sqliteBusyHandler(nullptr, 55), 0);
    EXPECT_EQ(sqliteBusyHandler(nullptr, 56), 0);
}

TEST(SalDatabase, endsQueriesThatBringTooMuch)
{
    sqlite3 *db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    const std::string endless =
        "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT ";
    const std::string wide = "hex(zeroblob(400000))";
    const struct {
        std::string sql;
        const char *says;
    } cases[] = {
        {endless + "x FROM n", "more than 64 MiB"},
        {endless + wide + " FROM n", "more than 64 MiB"},
        {"SELECT hex(zeroblob(1000000))", "more than 1 MiB"},
        {"SELECT 'a\x1b' FROM none", "no such table: none: SELECT 'a\\x1b' FROM none\n"},
        {"SELECT " + wide, ""},
    };
    for (const auto &[sql, says] : cases) {
        int columns = 0;
        int rows = 0;
        testing::internal::CaptureStderr();
        char **table = sqlite3QueryResGet(db, nullptr, sql.c_str(), &columns, &rows);
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(table != nullptr, *says == '\0') << sql;
        EXPECT_NE(said.find(says), std::string::npos) << said;
        sqlite3_free_table(table);
    }
    sqlite3_close(db);
}

TEST(SalDevice, leavesEverythingElseToTheKernel)
{
    const Directory directory;
    EXPECT_EQ(salOpen(directory.file("none").c_str(), O_RDWR, 0), -ENOENT);
    const int file = salOpen(directory.file("file").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    EXPECT_EQ(salIoctl(file, 0x5319, nullptr), -ENOTTY);
    int pending = -1;
    EXPECT_EQ(salIoctl(file, FIONREAD, &pending), 0);
    EXPECT_EQ(salClose(file), 0);
    EXPECT_EQ(salIoctl(file, 0x5319, nullptr), -EBADF);
    EXPECT_EQ(salClose(-1), -EBADF);

    const int network = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq interface = {};
    strcpy(interface.ifr_name, "lo");
    EXPECT_EQ(salIoctl(network, 0x8927, &interface), 0);
    EXPECT_EQ(salClose(network), 0);
}

} // namespace
