// Messaging between processes: a service in a separate process and its clients, and the
// log daemon's part of it.
#include "common/descriptor.h"
#include "common/log_entry.h"
#include "platform/relay.h"
#include "standins/logd/counters.h"
#include "standins/logd/failures.h"
#include "standins/logd/line.h"
#include "standins/logd/ring.h"
#include "standins/logd/settings.h"
#include "standins/relay/frame.h"
#include "swmgr/swmgr_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int module = 103;
constexpr int modeWait = 1;
constexpr int modePost = 2;

// The requests that the service of these tests answers.
enum RequestType {
    REVERSE = 1,  // reverses the reply buffer, which shrinks by one; length of the data
    SENDER = 2,   // module id of the sender
    LAYOUT = 3,   // 1: data present, 2: buffer present, 4: something not aligned
    RECEIVED = 4, // posts received so far
    DROPPED = 5,  // posts reported as lost so far
    POSTED = 6,
    ZEROS = 7, // zeros behind the reply buffer, as many as there may be
};

struct Seen {
    int posts = 0;
    int dropped = 0;
};

int handle(void *arg, RelayMsgHdr *header, int type, void *data, int length, void *reply,
           uint32_t *replyLength)
{
    Seen &seen = *static_cast<Seen *>(arg);
    seen.dropped += static_cast<int>(header->reserved3);
    const auto unaligned = [](void *p) { return reinterpret_cast<uintptr_t>(p) % 8 != 0; };
    switch (type) {
    case REVERSE: {
        auto *bytes = static_cast<char *>(reply);
        std::reverse(bytes, bytes + *replyLength);
        *replyLength -= *replyLength != 0;
        return length;
    }
    case SENDER:
        return static_cast<int>(header->sender);
    case LAYOUT:
        return (data != nullptr) | (reply != nullptr) << 1 |
               (unaligned(data) || unaligned(reply)) << 2;
    case RECEIVED:
        return seen.posts;
    case DROPPED:
        return seen.dropped;
    case POSTED:
        ++seen.posts;
        return 0;
    case ZEROS: {
        const auto *bytes = static_cast<const char *>(reply);
        const auto *end = bytes + std::max<uint32_t>(*replyLength, RELAY_REPLY_SIZE);
        return static_cast<int>(std::count(bytes + *replyLength, end, '\0'));
    }
    default:
        return -22;
    }
}

// Runs `body` in a child process, which ends with its owner at the latest.
class Process {
public:
    template <class Body>
    explicit Process(Body body)
    {
        pid = fork();
        if (pid == 0)
            _exit(body());
    }
    ~Process() { stop(SIGKILL); }
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    void signal(int number) const { kill(pid, number); }
    int stop(int number)
    {
        if (pid <= 0)
            return -1;
        kill(pid, number);
        return wait();
    }
    int wait()
    {
        int status = 0;
        waitpid(pid, &status, 0);
        pid = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid = 0;
};

volatile sig_atomic_t stopped = 0;

int runService()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { stopped = 1; };
    sigaction(SIGTERM, &action, nullptr);
    Seen seen;
    RelayCtx *ctx = relayRegister(module, modePost, handle, &seen);
    while (ctx != nullptr && stopped == 0)
        relayListen(ctx, 100000);
    return ctx != nullptr ? relayUnRegister(ctx) : 1;
}

int request(int type, const char *data = nullptr, std::string *buffer = nullptr)
{
    uint32_t length = buffer != nullptr ? static_cast<uint32_t>(buffer->size()) : 0;
    const int result = relayIoctl(nullptr, module, type, const_cast<char *>(data),
                                  data != nullptr ? static_cast<int>(strlen(data)) : 0,
                                  buffer != nullptr ? buffer->data() : nullptr,
                                  buffer != nullptr ? &length : nullptr, modeWait, 0, 0);
    if (buffer != nullptr)
        buffer->resize(length);
    return result;
}

int post()
{
    char data[40] = {};
    return relayIoctl(nullptr, module, POSTED, data, sizeof(data), nullptr, nullptr, modePost, 0,
                      0);
}

class Relay : public testing::Test {
protected:
    Relay()
    {
        directory = mkdtemp(name);
        setenv("RELAY_DIR", (directory / "run").c_str(), 1);
        // An unanswered request must be a failure, not a hanging test.
        setenv("RELAY_TIMEOUT", "10", 1);
    }
    ~Relay() override
    {
        relayDeInit();
        fs::remove_all(directory);
    }

    std::string socketPath() const { return directory / "run" / "103.sock"; }

    // An answer means that registration is complete.
    static bool waitUntilServed()
    {
        for (int i = 0; i < 1000; ++i) {
            if (request(SENDER) == 0)
                return true;
            usleep(5000);
        }
        return false;
    }

    char name[32] = "/tmp/relay.XXXXXX";
    fs::path directory;
};

TEST_F(Relay, aShortReplyBufferGoesOnWithZeros)
{
    Process service(runService);
    ASSERT_TRUE(waitUntilServed());
    for (const size_t size : {200, 64, 63, 44, 1}) { // what a longer one leaves behind goes
        std::string buffer(size, 'x');
        EXPECT_EQ(request(ZEROS, "data", &buffer), size < 64 ? static_cast<int>(64 - size) : 0);
        EXPECT_EQ(buffer, std::string(size, 'x'));
    }
}

TEST_F(Relay, anAnswerCarriesTheResultAndTheChangedBuffer)
{
    Process service(runService);
    ASSERT_TRUE(waitUntilServed());
    std::string buffer = "abc";
    EXPECT_EQ(request(REVERSE, "hello", &buffer), 5);
    EXPECT_EQ(buffer, "cb");
    EXPECT_EQ(request(99), -22);
    EXPECT_EQ(request(LAYOUT), 0);
    std::string byte = "x";
    EXPECT_EQ(request(LAYOUT, "12345"), 1);
    EXPECT_EQ(request(LAYOUT, nullptr, &byte), 2);
    EXPECT_EQ(request(LAYOUT, "12345", &byte), 3);

    RelayCtx *own = relayRegister(55, modePost, handle, nullptr);
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(relayIoctl(own, module, SENDER, nullptr, 0, nullptr, nullptr, modeWait, 0, 0), 55);
    EXPECT_EQ(relayIoctl(own, 55, SENDER, nullptr, 0, nullptr, nullptr, modeWait, 0, 0), -EDEADLK);
    EXPECT_EQ(relayUnRegister(own), 0);
    EXPECT_EQ(service.stop(SIGTERM), 0);
    EXPECT_FALSE(fs::exists(socketPath()));
}

TEST_F(Relay, aRemovedSocketComesBackUnlessAnotherServes)
{
    Process service(runService);
    ASSERT_TRUE(waitUntilServed());
    fs::remove(socketPath());
    EXPECT_TRUE(waitUntilServed());
    fs::remove_all(directory / "run");
    EXPECT_TRUE(waitUntilServed());
    service.signal(SIGSTOP);
    fs::remove_all(directory / "run");
    Process successor(runService);
    ASSERT_TRUE(waitUntilServed());
    service.signal(SIGCONT);
    EXPECT_EQ(service.stop(SIGTERM), 0);
    EXPECT_TRUE(waitUntilServed());
}

TEST_F(Relay, peersAreSentAwayWithoutADescriptor)
{
    Process service([] {
        const rlimit few = {16, 16};
        setrlimit(RLIMIT_NOFILE, &few);
        return runService();
    });
    ASSERT_TRUE(waitUntilServed());
    std::vector<Descriptor> crowd;
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, socketPath().c_str());
    for (int i = 0; i < 32; ++i) {
        crowd.emplace_back(socket(AF_UNIX, SOCK_SEQPACKET, 0));
        connect(crowd.back().get(), reinterpret_cast<sockaddr *>(&address), sizeof(address));
    }
    EXPECT_EQ(request(SENDER), -EMFILE);
    crowd.clear();
    EXPECT_TRUE(waitUntilServed());
}

TEST_F(Relay, messagesUpToTheLimitPassAndLargerOnesAreRefused)
{
    Process service(runService);
    ASSERT_TRUE(waitUntilServed());
    std::string data(relay::maxFrameSize - sizeof(relay::FrameHeader), 'x');
    std::string none;
    EXPECT_EQ(request(REVERSE, data.c_str(), &none), static_cast<int>(data.size()));
    EXPECT_EQ(request(REVERSE, (data + 'x').c_str()), -EMSGSIZE);
}

TEST_F(Relay, unreachableAndMuteServicesAreToldApart)
{
    EXPECT_EQ(request(LAYOUT), -ENOENT);
    Process service(runService);
    ASSERT_TRUE(waitUntilServed());
    setenv("RELAY_TIMEOUT", "1", 1);
    service.signal(SIGSTOP);
    EXPECT_EQ(request(LAYOUT), -ETIMEDOUT);
    service.stop(SIGKILL);
    EXPECT_EQ(request(LAYOUT), -ECONNREFUSED);
}

TEST_F(Relay, postsNeverWaitAndLossesAreCounted)
{
    for (int i = 0; i < 5; ++i)
        EXPECT_LT(post(), 0) << "nobody listens";
    Process service(runService);
    ASSERT_TRUE(waitUntilServed());
    int sent = 0;
    for (; post() != 0; usleep(1000)) // the pause between attempts to connect
        ++sent;
    ++sent;
    EXPECT_EQ(request(RECEIVED), 1);
    EXPECT_EQ(request(DROPPED), 5 + sent - 1);

    service.signal(SIGSTOP);
    int lost = 0;
    constexpr int many = 200000; // more than the receiver may lag behind
    for (int i = 0; i < many; ++i)
        lost += post() != 0;
    EXPECT_GT(lost, 0);
    service.signal(SIGCONT);
    int more = many;
    while (request(RECEIVED) + lost < 1 + more) { // until the queue has been read
    }
    for (; post() != 0; usleep(1000), ++more, ++lost) {
    }
    EXPECT_EQ(request(RECEIVED), 1 + more + 1 - lost);
    EXPECT_EQ(request(DROPPED), 5 + sent - 1 + lost);

    // The first post after a restart of the receiver notices it, and what the receiver left
    // goes to its successor. A child of the sender has its own connection.
    service.signal(SIGSTOP);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(post(), 0);
    service.stop(SIGKILL);
    Process successor(runService);
    ASSERT_TRUE(waitUntilServed());
    usleep(20000); // a sender checks every 10 ms whether the receiver is alive
    EXPECT_EQ(post(), 0);
    EXPECT_EQ(request(RECEIVED), 1001);
    EXPECT_EQ(Process(post).wait(), 0);
    EXPECT_EQ(post(), 0);
    EXPECT_EQ(request(RECEIVED), 1003);
}

std::string lineOf(SwMgrLogEntry entry, const std::string &text)
{
    char line[logd::maxLine];
    entry.textLength = static_cast<uint32_t>(text.size());
    return std::string(line, logd::formatLine(entry, text.c_str(), line));
}

TEST(LogDaemon, printsOneLineForEachRecord)
{
    setenv("TZ", "UTC", 1);
    tzset();
    SwMgrLogEntry entry = {};
    entry.time = 1000000000123000000;
    entry.module = 103;
    const struct {
        int32_t level;
        std::string text;
        const char *line;
    } cases[] = {
        {8, "cmd (x) returned (0).\n", "tool    swmgr  cmd (x) returned (0).\n"},
        {8, "cmd (x y) returned (-2).\n", "warning swmgr  cmd (x y) returned (-2).\n"},
        {8, "cmd (vconfig rem a.1) returned (1).",
         "tool    swmgr  cmd (vconfig rem a.1) returned (1).\n"},
        {8, "cmd (x) returned", "error   swmgr  cmd (x) returned\n"},
        {64, "", "info    swmgr  \n"},
        {128, "two\nlines\n\n", "notice  swmgr  two\\x0alines\n"},
        {256, "\x1b[31m\xff", "debug   swmgr  \\x1b[31m\\xff\n"},
        {-2147483647 - 1, "x", "-2147483648 swmgr  x\n"},
    };
    for (const auto &[level, text, line] : cases) {
        entry.level = level;
        EXPECT_EQ(lineOf(entry, text), std::string("2001-09-09 01:46:40.123 ") + line);
    }
    EXPECT_EQ(lineOf(entry, std::string(5000, '\1')).size(),
              lineOf(entry, "").size() + 4 * SWMGR_LOG_TEXT_SIZE);
}

// A failure is forgotten once the same entry has been written.
TEST(LogDaemon, keepsTheToolsThatFailedLast)
{
    const struct {
        const char *line;
        size_t failures; // after it
    } cases[] = {
        {"cmd (vlan_table_func edit 4 1 0x1 0x1 10 02:00:00:00:00:01 1) returned (3).", 1},
        {"cmd (arl_table_func add 02:00:00:00:00:01 10 0x4 0x1) returned (3).", 2},
        {"cmd (vconfig rem eth0.10) returned (1).", 2},
        {"cmd (vlan_table_func edit 9 0 0x0 0x0 10  1) returned (0).", 1},
        {"cmd (arl_table_func del  11) returned (0).", 1},
        {"arlEntryWrite:12:cmd (arl_table_func del  10) returned (0).", 0}, // with --debug
        {"load:7:Failed to load switch configuration", 1},
    };
    for (const auto &[line, failures] : cases) {
        SwMgrLogEntry entry = {};
        entry.module = SWMGR_RELAY_MODULE_ID;
        entry.level = strstr(line, ":cmd") != nullptr || strstr(line, "load:") != nullptr
                          ? SWMGR_LOG_DEVDEBUG
                          : SWMGR_LOG_ERROR;
        entry.number = 1;
        entry.textLength = static_cast<uint32_t>(strlen(line));
        logd::failureNote(entry, line);
        const SwMgrLogFollowRequest wanted = {};
        unsigned char buffer[4096];
        uint32_t length = sizeof(buffer);
        ASSERT_EQ(logd::failuresAnswer(&wanted, sizeof(wanted), buffer, &length), 0);
        SwMgrLogAnswer answer;
        memcpy(&answer, buffer, sizeof(answer));
        EXPECT_EQ(answer.count, failures) << line;
    }
}

// Each line adds to the counts of the lines before it.
TEST(LogDaemon, countsToolsAndRequests)
{
    const struct {
        int32_t level;
        const char *line;
        std::vector<uint64_t> counts; // in the order of the record
    } cases[] = {
        {8, "cmd (vconfig add eth0 10) returned (0).", {1, 0, 0, 0, 0, 0, 0, 0}},
        {8, "cmd (vconfig rem eth0.10) returned (1).", {2, 0, 0, 0, 0, 0, 0, 0}},
        {256, "salRun:12:cmd (vconfig add eth0 10) returned (-1).", {3, 1, 0, 0, 0, 0, 0, 0}},
        {64, "DBUpdate event: Table: t opCode:9 rowId:1 processing \n", {3, 1, 0, 0, 0, 0, 0, 0}},
        {64, "DBUpdate event: Table: t opCode:9 rowId:1 status=0\n", {3, 1, 1, 0, 0, 0, 0, 0}},
        {64, "DBUpdate event: Table: swctl opCode:9 rowId:1 status=0\n", {3, 1, 1, 0, 0, 0, 0, 0}},
        {256, "f:1:DBUpdate event: Table: t opCode:9 status=-22", {3, 1, 2, 1, 0, 0, 0, 0}},
        {64, "Received interface event=22 on status=-1\n", {3, 1, 2, 1, 1, 0, 0, 0}},
        {8, "failed to handle interface events\n", {3, 1, 2, 1, 1, 1, 0, 0}},
        {8, "swMgrIoctlHandler: short ifDev event request!\n", {3, 1, 2, 1, 1, 1, 1, 1}},
        {8, "short switch command (47): 3 bytes\n", {3, 1, 2, 1, 1, 1, 2, 2}},
        {8, "", {3, 1, 2, 1, 1, 1, 2, 2}},
        {8, "Failed to process cmd 47 on PSE \n", {3, 1, 2, 1, 1, 1, 2, 2, 1, 1}},
    };
    for (const auto &[level, line, counts] : cases) {
        SwMgrLogEntry entry = {};
        entry.module = SWMGR_RELAY_MODULE_ID;
        entry.level = level;
        entry.textLength = static_cast<uint32_t>(strlen(line));
        logd::counterNote(entry, line);
        entry.module = LOGGING_RELAY_MODULE_ID; // another service's line must not count
        logd::counterNote(entry, line);
        const SwMgrLogFollowRequest wanted = {};
        unsigned char buffer[sizeof(SwMgrLogAnswer) + sizeof(SwMgrLogCounters)];
        uint32_t length = sizeof(buffer);
        ASSERT_EQ(logd::countersAnswer(&wanted, sizeof(wanted), buffer, &length), 0);
        std::vector<uint64_t> found(sizeof(SwMgrLogCounters) / sizeof(uint64_t));
        memcpy(found.data(), buffer + sizeof(SwMgrLogAnswer), sizeof(SwMgrLogCounters));
        found.resize(counts.size()); // switch commands follow
        EXPECT_EQ(found, counts) << line;
        --length;
        EXPECT_EQ(logd::countersAnswer(&wanted, sizeof(wanted), buffer, &length), -EINVAL);
    }
}

// The answer to LOGGING_MSG_SETTINGS in lines, each with the records lost since, "+" if more
// must be asked for.
std::string settingsAfter(uint64_t after, uint32_t room)
{
    std::vector<unsigned char> buffer(room);
    const SwMgrLogFollowRequest wanted = {after, 0, 0};
    uint32_t length = room;
    EXPECT_EQ(logd::settingsAnswer(&wanted, sizeof(wanted), buffer.data(), &length), 0);
    SwMgrLogAnswer answer = {};
    memcpy(&answer, buffer.data(), sizeof(answer));
    std::string lines;
    size_t at = sizeof(answer);
    for (uint32_t i = 0; i < answer.count; ++i) {
        SwMgrLogEntry entry = {};
        memcpy(&entry, buffer.data() + at, sizeof(entry));
        lines.append(reinterpret_cast<char *>(buffer.data()) + at + sizeof(entry), entry.textLength)
            .append(entry.dropped == 0 ? "; " : " (lost " + std::to_string(entry.dropped) + "); ");
        at += logEntrySize(entry.textLength);
    }
    return lines + (answer.last < answer.newest ? "+" : "");
}

TEST(LogDaemon, keepsTheNewestLineOfEachSetting)
{
    uint64_t number = 0;
    const auto note = [&](std::string line, uint32_t dropped = 0,
                          uint32_t author = SWMGR_RELAY_MODULE_ID) {
        SwMgrLogEntry entry = {};
        entry.module = author;
        entry.dropped = dropped;
        entry.textLength = static_cast<uint32_t>(line.size());
        entry.number = ++number;
        logd::settingNote(entry, line.data());
    };
    note("cmd (rate_limit_func set 1 20 1) returned (0).");
    note("cmd (rate_limit_func set 2 5 0) returned (3).");
    note("cmd (rate_limit_func set 12 5 0) returned (0).");
    note("VLAN Enable status 1");
    note("bcmVlanEnable:12:VLAN Enable status 0");
    note("(switch=PSE) swFunc:1:Failed to process cmd (33) in lower switch BCM");
    note("cmd (rate_limit_func set 1 0 0) returned (0).");
    note("cmd (vconfig add eth0 10) returned (0).");
    note("VLAN Enable status 7", 0, LOGGING_RELAY_MODULE_ID);
    note("cmd (tc qdisc add dev lan1 root handle 10: tbf rate 1kbit) returned (0).");
    note("cmd (tc qdisc add dev lan1 root handle 20: ets bands 4) returned (0).");
    const std::string old = "cmd (rate_limit_func set 2 5 0) returned (3).; "
                            "cmd (rate_limit_func set 12 5 0) returned (0).; ";
    const std::string fresh =
        "VLAN Enable status 0; Failed to process cmd (33) in lower switch BCM; "
        "cmd (rate_limit_func set 1 0 0) returned (0).; "
        "cmd (tc qdisc add dev lan1 root handle 10: tbf rate 1kbit) returned (0).; "
        "cmd (tc qdisc add dev lan1 root handle 20: ets bands 4) returned (0).; ";
    EXPECT_EQ(settingsAfter(0, 4096), old + fresh);
    EXPECT_EQ(settingsAfter(3, 4096), fresh);
    note("nothing of interest", 3);
    note(std::string("VLAN Enable status ") + std::string(1000, 'x'));
    const std::string all = settingsAfter(0, 4096);
    EXPECT_NE(all.find("cmd (tc qdisc add dev lan1 root handle 20: ets bands 4) returned (0). "
                       "(lost 3); VLAN Enable status xxx"),
              std::string::npos)
        << all;
    for (int port = 0; port < 600; ++port) // more than there is room for
        note("cmd (pri_ctl_func set " + std::to_string(port) + " 1 0 0 0 0) returned (0).");
    EXPECT_NE(settingsAfter(0, 1 << 20).find("set 500 "), std::string::npos);
    EXPECT_EQ(settingsAfter(0, 1 << 20).find("set 599 "), std::string::npos);
    EXPECT_EQ(settingsAfter(0, 300).find("set 500 "), std::string::npos);
    const SwMgrLogFollowRequest wanted = {};
    uint32_t length = sizeof(SwMgrLogAnswer) - 1;
    unsigned char buffer[sizeof(SwMgrLogAnswer)];
    EXPECT_EQ(logd::settingsAnswer(&wanted, sizeof(wanted), buffer, &length), -EINVAL);
    EXPECT_EQ(logd::settingsAnswer(&wanted, 3, buffer, &length), -EINVAL);
}

TEST(LogDaemon, answersFollowersFromItsLastRecords)
{
    std::vector<unsigned char> buffer(SWMGR_LOG_ANSWER_USUAL);
    SwMgrLogAnswer answer = {};
    const auto follow = [&](uint64_t after, int32_t level, size_t size) {
        const SwMgrLogFollowRequest wanted = {after, level, 0};
        auto length = static_cast<uint32_t>(size);
        const int status = logd::ringAnswer(&wanted, sizeof(wanted), buffer.data(), &length);
        memcpy(&answer, buffer.data(), sizeof(answer));
        EXPECT_LE(length, size);
        return status;
    };
    ASSERT_EQ(follow(SWMGR_LOG_NEWEST_ONLY, 256, buffer.size()), 0);
    const uint64_t base = answer.newest; // 0, unless the test is repeated
    for (uint32_t i = 1; i <= 600; ++i) {
        SwMgrLogEntry entry = {};
        entry.level = i % 2 == 0 ? 8 : 64;
        entry.textLength = 11;
        logd::ringAppend(entry, "eleven text and more");
    }
    ASSERT_EQ(follow(SWMGR_LOG_NEWEST_ONLY, 256, buffer.size()), 0);
    EXPECT_EQ(answer.newest, base + 600);
    EXPECT_EQ(answer.last, base + 600);
    EXPECT_EQ(answer.count, 0u);
    // 88 records are gone; of the others, two entries fit.
    ASSERT_EQ(follow(base + 10, 64, sizeof(answer) + 2 * logEntrySize(11) + 20), 0);
    EXPECT_EQ(answer.skipped, 78u);
    EXPECT_EQ(answer.count, 2u);
    EXPECT_EQ(answer.last, base + 90);
    ASSERT_EQ(follow(base + 590, 8, buffer.size()), 0);
    EXPECT_EQ(answer.count, 5u);
    EXPECT_EQ(answer.last, base + 600);
    SwMgrLogEntry second = {};
    const unsigned char *at = buffer.data() + sizeof(answer) + logEntrySize(11);
    memcpy(&second, at, sizeof(second));
    EXPECT_EQ(second.number, base + 594);
    EXPECT_EQ(memcmp(at + sizeof(second), "eleven text\0\0\0\0\0", 16), 0);

    uint32_t length = 8;
    EXPECT_EQ(logd::ringAnswer(&answer, 16, buffer.data(), &length), -EINVAL);
    length = 100;
    EXPECT_EQ(logd::ringAnswer(&answer, 15, buffer.data(), &length), -EINVAL);
}

} // namespace
