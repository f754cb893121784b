// The operating-system layer as its callers see it: command lines, devices and
// the wait for a locked database.
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

// An emulated system may learn from the exit status only that a command could
// not be run, not why.
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
    EXPECT_EQ(salCmdExec("grep -q SigBlk:.0000000000000000 /proc/self/status", 0, 0), 0);
    EXPECT_EQ(
        salCmdExec("grep -Eq 'SigIgn:.[0-9a-f]*[02468ace][0-9a-f]{3}$' /proc/self/status", 0, 0),
        0);
    EXPECT_EQ(salCmdExec("grep -q x", 0, 0), 1); // nothing to read: ends at once
    signal(SIGPIPE, old);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

constexpr uint32_t readWrite6 = 0xc0065306;
constexpr uint32_t write6 = 0x40065307;
constexpr uint32_t noRecord = 0x5319;
constexpr uint32_t hangUp = 0x5350;
constexpr uint32_t tooShort = 0xc0065351;

// A device behind a socket. It answers with the argument, or with the sum of the
// record, which comes back doubled.
void serveDevice(int listener)
{
    for (int fd = 0; (fd = accept(listener, nullptr, nullptr)) >= 0; close(fd)) {
        uint8_t packet[256];
        device::RequestHeader request = {};
        for (ssize_t length; (length = recv(fd, packet, sizeof(packet), 0)) > 0;) {
            memcpy(&request, packet, sizeof(request));
            if (request.request == hangUp)
                break;
            device::AnswerHeader answer = {static_cast<int32_t>(request.argument), 0};
            std::vector<uint8_t> reply(sizeof(answer));
            for (auto i = sizeof(request); i < static_cast<size_t>(length); ++i) {
                answer.result += packet[i];
                reply.push_back(static_cast<uint8_t>(packet[i] * 2));
            }
            memcpy(reply.data(), &answer, sizeof(answer));
            if (request.request == tooShort)
                reply.resize(sizeof(answer) + 2);
            send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
        }
    }
}

void *argument(intptr_t value)
{
    return reinterpret_cast<void *>(value);
}

TEST(SalDevice, carriesRequestsToASimulatedDevice)
{
    const Directory directory;
    const std::string path = directory.file("switch0");
    sockaddr_un address = {AF_UNIX, {}};
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(listener, 4), 0);
    std::thread device(serveDevice, listener);
    const int fd = salOpen(path.c_str(), O_RDWR, 0);
    EXPECT_GE(fd, 0);

    uint8_t record[7] = {1, 2, 3, 4, 5, 6, 99};
    EXPECT_EQ(salIoctl(fd, readWrite6, record), 21);
    EXPECT_EQ(memcmp(record, "\2\4\6\10\12\14\143", 7), 0) << "copied back, and no byte more";
    EXPECT_EQ(salIoctl(fd, write6, record), 42);
    EXPECT_EQ(record[0], 2) << "the driver does not fill it";
    EXPECT_EQ(salIoctl(fd, noRecord, argument(-EIO)), -EIO);
    EXPECT_EQ(salIoctl(fd, write6, nullptr), -EFAULT);

    // What breaks the connection is reported once; the next request finds a new one.
    EXPECT_EQ(salIoctl(fd, hangUp, nullptr), -EIO);
    EXPECT_EQ(salIoctl(fd, noRecord, argument(5)), 5);
    EXPECT_EQ(salIoctl(fd, tooShort, record), -EPROTO);
    EXPECT_EQ(salIoctl(fd, noRecord, argument(6)), 6);
    EXPECT_EQ(salClose(fd), 0);
    shutdown(listener, SHUT_RDWR);
    device.join();
    close(listener);
}

// The pauses add up to 5 s with the 56th.
TEST(SalDatabase, waitsForALockUntilALimit)
{
    EXPECT_NE(sqliteBusyHandler(nullptr, 55), 0);
    EXPECT_EQ(sqliteBusyHandler(nullptr, 56), 0);
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

} // namespace
