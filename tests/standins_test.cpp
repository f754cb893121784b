// The operating-system layer as its callers see it: lists, files, command
// lines, devices and the wait for a locked database.
#include "platform/database.h"
#include "platform/sal.h"
#include "simulator/device_protocol.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <net/if.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A directory of the test's own, removed at its end.
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

struct Element {
    SalListLink link;
    int value;
};

std::vector<int> valuesOf(SalList &list)
{
    std::vector<int> values;
    for (SalListLink *link = salListFirst(&list); link != nullptr; link = salListNext(link)) {
        values.push_back(reinterpret_cast<Element *>(link)->value);
    }
    return values;
}

TEST(SalList, keepsOrderAndForgetsRemovedElements)
{
    for (const std::vector<int> &removals :
         std::vector<std::vector<int>>{{0, 1, 2}, {2, 1, 0}, {1, 0, 2}, {1, 1, 2}}) {
        SalList list;
        salListInit(&list);
        EXPECT_EQ(salListFirst(&list), nullptr);
        Element elements[3] = {{{}, 0}, {{}, 1}, {{}, 2}};
        std::vector<int> expected;
        for (Element &element : elements) {
            salListNodeAppend(&list, &element.link);
            expected.push_back(element.value);
        }
        EXPECT_EQ(valuesOf(list), expected);
        for (const int value : removals) {
            salListNodeRemove(&list, &elements[value].link);
            std::erase(expected, value);
            EXPECT_EQ(valuesOf(list), expected);
            EXPECT_EQ(elements[value].link.next, nullptr);
            EXPECT_EQ(elements[value].link.prev, nullptr);
        }
        EXPECT_EQ(list.last == nullptr, expected.empty());
        salListNodeAppend(&list, &elements[removals[0]].link);
        EXPECT_EQ(valuesOf(list).back(), removals[0]);
    }
}

TEST(SalFile, writesFormattedTextAndRemovesFiles)
{
    const Directory directory;
    const std::string path = directory.file("uptime");
    FILE *stream = salFileOpen(path.c_str(), "w+");
    ASSERT_NE(stream, nullptr);
    EXPECT_NE(fcntl(fileno(stream), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(salFilePrintf(stream, "%u\n", 512u), 4);
    EXPECT_EQ(salFileClose(stream), 0);
    std::string line;
    std::getline(std::ifstream(path), line);
    EXPECT_EQ(line, "512");
    EXPECT_EQ(salUnlink(path.c_str()), 0);
    EXPECT_EQ(salUnlink(path.c_str()), -ENOENT);
    EXPECT_EQ(salFileOpen(directory.file("none/x").c_str(), "r"), nullptr);
}

// An emulated system may learn from the exit status only that a command could
// not be run, not why.
bool spawnTellsWhy()
{
    char name[] = "/no/such/tool";
    char *words[] = {name, nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, name, nullptr, nullptr, words, nullptr) != 0) {
        return true;
    }
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
        {"test 1 = 2", 1},
        {"", 0},
        {" \t ", 0},
        {"expr length " + std::string(900, 'x') + " = 900", 0},
        {"test " + std::string(2000, 'x') + " = y", 1},
        {script, spawnTellsWhy() ? 7 : -ENOENT},
        {"exit 3;", 3},
        {"test -z \"$NO_SUCH_VARIABLE\"", 0},
        {"echo text | grep -q text", 0},
        {"VALUE=1", 0},
        {"/no/such/tool set 1", -ENOENT},
        {data, spawnTellsWhy() ? -EACCES : -ENOENT},
        {"/no/such/tool;", -ENOENT},
        {data + " ;", -EACCES},
        {"kill -KILL $$", -(128 + SIGKILL)},
    };
    for (const auto &[line, result] : cases) {
        EXPECT_EQ(salCmdExec(line.c_str(), 0, 0), result) << line;
    }
    EXPECT_EQ(salCmdExec(nullptr, 0, 0), -EINVAL);
}

TEST(SalCmdExec, startsACommandWithDefaultsWhateverTheHostDoes)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);
    const auto old = signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(salCmdExec("grep -q SigBlk:.0000000000000000 /proc/self/status", 0, 0), 0);
    EXPECT_EQ(
        salCmdExec("grep -Eq 'SigIgn:.[0-9a-f]*[02468ace][0-9a-f]{3}$' /proc/self/status", 0, 0),
        0);
    EXPECT_EQ(salCmdExec("grep -q x", 0, 0), 1); // nothing to read: ends at once
    signal(SIGPIPE, old);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

bool runs(const std::string &pidFile)
{
    std::string pid;
    std::getline(std::ifstream(pidFile), pid);
    std::string stat;
    std::getline(std::ifstream("/proc/" + pid + "/stat"), stat);
    return !pid.empty() && !stat.empty() && stat.find(") Z ") == std::string::npos;
}

TEST(SalCmdExec, endsACommandThatHangsWithAllItStarted)
{
    const Directory directory;
    const std::string pid = directory.file("pid");
    const std::string ignoring = "trap '' TERM; sleep 300 & echo $! > " + pid + "; wait; sleep 300";
    setenv("SAL_CMD_TIMEOUT", "1", 1);
    for (const std::string &line : {std::string("sleep 300"), ignoring}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(salCmdExec(line.c_str(), 0, 0), -ETIMEDOUT);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "libsal: \"" + line + "\" has not ended within 1 s and is ended\n");
    }
    unsetenv("SAL_CMD_TIMEOUT");
    for (int i = 0; i < 500 && runs(pid); ++i) {
        usleep(10000); // a killed process takes a moment to go
    }
    EXPECT_TRUE(fs::exists(pid));
    EXPECT_FALSE(runs(pid));
}

// A device behind a socket: one thread that gives each request to `answer`,
// until the connection closes or `answer` returns an empty packet.
class FakeDevice {
public:
    using Answer = std::function<std::vector<uint8_t>(const std::vector<uint8_t> &)>;

    explicit FakeDevice(std::string path) : socketPath(std::move(path))
    {
        listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        strncpy(address.sun_path, socketPath.c_str(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
        EXPECT_EQ(listen(listener, 4), 0);
    }
    ~FakeDevice()
    {
        shutdown(listener, SHUT_RDWR);
        thread.join();
        close(listener);
    }

    void serve(Answer answer)
    {
        thread = std::thread([this, answer = std::move(answer)] {
            for (int fd = 0; (fd = accept(listener, nullptr, nullptr)) >= 0; close(fd)) {
                serveConnection(fd, answer);
            }
        });
    }

private:
    static void serveConnection(int fd, const Answer &answer)
    {
        for (;;) {
            std::vector<uint8_t> packet(1 << 15);
            const ssize_t length = recv(fd, packet.data(), packet.size(), 0);
            if (length <= 0) {
                return;
            }
            packet.resize(static_cast<size_t>(length));
            const std::vector<uint8_t> reply = answer(packet);
            if (reply.empty()) {
                return;
            }
            send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
        }
    }

    std::string socketPath;
    int listener = -1;
    std::thread thread;
};

constexpr uint32_t readWrite6 = 0xc0065306;
constexpr uint32_t write6 = 0x40065307;
constexpr uint32_t noRecord = 0x5319;
constexpr uint32_t hangUp = 0x5350;
constexpr uint32_t tooShort = 0xc0065351;

// Result: the argument, or the sum of the record; the record comes back doubled.
std::vector<uint8_t> answerOf(const std::vector<uint8_t> &packet)
{
    device::RequestHeader request;
    memcpy(&request, packet.data(), sizeof(request));
    if (request.request == hangUp) {
        return {};
    }
    EXPECT_EQ(packet.size(), sizeof(request) + device::recordSize(request.request));
    device::AnswerHeader answer = {static_cast<int32_t>(request.argument), 0};
    std::vector<uint8_t> reply(sizeof(answer));
    for (size_t i = sizeof(request); i < packet.size(); ++i) {
        answer.result += packet[i];
        reply.push_back(static_cast<uint8_t>(packet[i] * 2));
    }
    memcpy(reply.data(), &answer, sizeof(answer));
    if (request.request == tooShort) {
        reply.resize(sizeof(answer) + 2);
    }
    return reply;
}

void *argument(intptr_t value)
{
    return reinterpret_cast<void *>(value);
}

TEST(SalDevice, carriesRequestsToASimulatedDevice)
{
    const Directory directory;
    const std::string path = directory.file("switch0");
    FakeDevice device(path);
    device.serve(answerOf);
    const int fd = salOpen(path.c_str(), O_RDWR, 0);
    ASSERT_GE(fd, 0);

    uint8_t record[7] = {1, 2, 3, 4, 5, 6, 99};
    EXPECT_EQ(salIoctl(fd, readWrite6, record), 21);
    EXPECT_EQ(memcmp(record, "\2\4\6\10\12\14\143", 7), 0) << "copied back, and no byte more";
    EXPECT_EQ(salIoctl(fd, write6, record), 42);
    EXPECT_EQ(record[0], 2) << "the driver does not fill it";
    EXPECT_EQ(salIoctl(fd, noRecord, argument(4)), 4);
    EXPECT_EQ(salIoctl(fd, noRecord, argument(-EIO)), -EIO);
    EXPECT_EQ(salIoctl(fd, write6, nullptr), -EFAULT);

    // What breaks the connection is reported once; the next request finds a new one.
    EXPECT_EQ(salIoctl(fd, hangUp, nullptr), -EIO);
    EXPECT_EQ(salIoctl(fd, noRecord, argument(5)), 5);
    EXPECT_EQ(salIoctl(fd, tooShort, record), -EPROTO);
    EXPECT_EQ(salIoctl(fd, noRecord, argument(6)), 6);
    EXPECT_EQ(salClose(fd), 0);
}

TEST(SalDevice, leavesEverythingElseToTheKernel)
{
    const Directory directory;
    EXPECT_EQ(salOpen(directory.file("none").c_str(), O_RDWR, 0), -ENOENT);
    const int file = salOpen(directory.file("file").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    EXPECT_EQ(salIoctl(file, noRecord, nullptr), -ENOTTY);
    int pending = -1;
    EXPECT_EQ(salIoctl(file, FIONREAD, &pending), 0);
    EXPECT_EQ(salClose(file), 0);
    EXPECT_EQ(salIoctl(file, noRecord, nullptr), -EBADF);
    EXPECT_EQ(salClose(-1), -EBADF);

    const int network = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq interface = {};
    strcpy(interface.ifr_name, "lo");
    EXPECT_EQ(salIoctl(network, 0x8927, &interface), 0);
    EXPECT_EQ(salClose(network), 0);
}

class Database {
public:
    explicit Database(const std::string &path) { sqlite3_open(path.c_str(), &handle); }
    ~Database() { sqlite3_close(handle); }
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;
    int run(const char *sql) { return sqlite3_exec(handle, sql, nullptr, nullptr, nullptr); }

    sqlite3 *handle = nullptr;
};

TEST(SalDatabase, returnsTablesAndWaitsForALock)
{
    const Directory directory;
    Database writer(directory.file("db"));
    Database reader(directory.file("db"));
    ASSERT_EQ(writer.run("CREATE TABLE t(a, b); INSERT INTO t VALUES (1, NULL), ('x', 'y')"), 0);
    ASSERT_EQ(writer.run("BEGIN EXCLUSIVE"), 0);

    int columns = 0;
    int rows = 0;
    EXPECT_EQ(sqlite3QueryResGet(reader.handle, nullptr, "SELECT * FROM t", &columns, &rows),
              nullptr)
        << "locked, and nobody waits";
    sqlite3_busy_handler(reader.handle, sqliteBusyHandler, nullptr);
    std::thread release([&] {
        usleep(150000);
        writer.run("COMMIT");
    });
    char **table = sqlite3QueryResGet(reader.handle, nullptr, "SELECT * FROM t", &columns, &rows);
    release.join();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(columns, 2);
    EXPECT_EQ(rows, 2);
    EXPECT_STREQ(table[1], "b");
    EXPECT_EQ(table[3], nullptr);
    EXPECT_STREQ(table[5], "y");
    sqlite3_free_table(table);
    EXPECT_EQ(sqlite3QueryResGet(reader.handle, nullptr, "SELECT * FROM u", &columns, &rows),
              nullptr);

    // The pauses add up to 5 s with the 56th.
    EXPECT_NE(sqliteBusyHandler(nullptr, 55), 0);
    EXPECT_EQ(sqliteBusyHandler(nullptr, 56), 0);
}

} // namespace
