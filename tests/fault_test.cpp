// Every single fault: a scenario from start to stop runs once; at each platform
// call and each allocation the process forks, and the child goes on with that
// call failed, to the end. So every fault is tried with the true past before it.
#include "support/fixture.h"

#include "base/state.h"
#include "platform/list_of.h"
#include "store/database.h"
#include "switch/registry.h"
#include "vlan/vlan.h"

#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::string_literals;

namespace {

// What a failed call must lead to. The first row that matches counts.
struct Expectation {
    const char *call;    // its start; what follows a "@" stands anywhere after it
    int results[3];      // to inject, 0 ends them
    const char *message; // logged afterwards when the result is negative, or none
    const char *notNext; // no hardware call of this start may follow directly
    bool unaffected;     // everything goes on as if nothing had happened
};

constexpr Expectation expectations[] = {
    {"log ", {-5}, nullptr, nullptr, true},
    {"relayRegister", {-1}, nullptr, "query", false},
    {"relay", {-5, 5}, nullptr, nullptr, true},
    {"sqlite3_open", {-14}, nullptr, "query", false},
    {"sqlite3_mprintf", {-1}, "status=-1", "query", false},
    {"calloc", {-1}, "log 8 ", nullptr, false},
    {"query @ WHERE rowid=", {-1}, "status=-1", nullptr, false},
    {"query ", {-1}, "log 8 Failed to load switch ", "query", false},
    {"open ", {-2}, "Failed to open the device", "ioctl", false},
    {"close", {-5, 5}, nullptr, nullptr, true},
    {"unlink", {-5, 5}, nullptr, nullptr, true},
    {"file closed", {-5}, nullptr, nullptr, true},
    {"write ", {-5}, nullptr, nullptr, true},
    {"file ", {-1}, nullptr, "write", false},
    {"socket", {-1}, "Failed to get the MAC address of", "ioctl HWADDR", false},
    {"ioctl HWADDR", {-19, 1}, "Failed to get the MAC address of", nullptr, false},
    {"ioctl VLAN_CLEAR", {-5, 5}, "clearing 802.1Q VLAN", nullptr, true},
    {"ioctl VLAN_ENTRY_SET", {-5, 5}, "adding 802.1Q VLAN entry", nullptr, false},
    {"ioctl DEFAULT_TAG_SET", {-5, 5}, "Failed to set PVID for port", "ioctl NON", false},
    {"ioctl NON8021Q", {-5, 5}, "Failed to set Non-8021q Frame status", "ioctl DEFAULT", false},
    {"ioctl VLAN_ENABLE", {-5, 5}, "log 8 Failed to ", nullptr, false},
    {"cmd vconfig add", {-5, 5}, "8 Failed to apply configuration in eth", "cmd ifconfig", false},
    {"cmd vlan_table", {-5, 5}, "Failed to configure PSE membership for VLAN", "cmd arl", false},
    {"cmd arl_table_func add", {-5, 5}, "Failed to add CPU ARL Entry", nullptr, false},
    {"cmd arl_table_func del", {-5, 5}, "Failed to delete CPU ARL Entry", nullptr, false},
    {"cmd tc_func", {-5, 5}, "Failed to set number of queues in switch", "cmd queue_weight", false},
    {"cmd queue_weight", {-5, 5}, "Port Queues weight configuration failed", "cmd queue", false},
    {"cmd rate_limit", {-5, 5}, "rate limit configuration failed", nullptr, false},
    {"cmd sppe_ioctl", {-5, 5}, "QoS configuration (Failed)", nullptr, false},
    {"cmd pri_ctl", {-5, 5}, "Trust Mode configuration (Failed)", nullptr, false},
    {"cmd vconfig rem", {-5, 5}, "returned (-5)", nullptr, false},
    {"cmd /sbin/vconfig set_egress_map @ 7 7", {-5, 5}, "Failed to update QoS", nullptr, false},
    {"cmd ", {-5, 5}, "returned (-5)", nullptr, true},
    {"system", {-1, 256}, "Pause Frame configuration failed", "system", false},
};

const Expectation *expectationOf(const std::string &line)
{
    for (const Expectation &one : expectations) {
        const std::string call(one.call);
        const auto at = call.find('@');
        if (line.compare(0, std::min(at, call.size()), call, 0, at) == 0 &&
            (at == std::string::npos || line.find(call.substr(at + 1)) != std::string::npos))
            return &one;
    }
    return nullptr;
}

const std::string oldRow = oldValues({"vlanId", "interfaceName", "LogicalIfName", "ingressMap",
                                      "egressMap", "fwdMap", "untagMap", "inSwitchOnly"},
                                     {"14", "eth0", "", "", "", "1,2", "1", "0"});

// Appends what does not hold to `broken`.
void check(std::string &broken, bool holds, const std::string &what)
{
    if (!holds)
        broken += "  " + what + "\n";
}

void rowsInsert(Fixture &gateway)
{
    gateway.addSwitches();
    gateway.addPorts();
    for (int id = 10; id < 18; ++id)
        gateway.sql("insert into vlanEncapIf values(" + std::to_string(id) + ", 'eth" +
                    std::to_string(id % 2) + "', '', '', '', '1,2,3', '" + std::to_string(id % 4) +
                    "', " + std::to_string(id / 17) + ")");
}

// Requests between start and stop; whatever they answer, what must hold holds.
std::deque<std::function<void()>> requests(Fixture &gateway)
{
    const auto row = [&](const char *table, int opCode, int rowId, const char *sql) {
        return [&gateway, table, opCode, rowId, sql] {
            gateway.sql(sql);
            dbEvent(table, opCode, rowId, oldRow);
        };
    };
    return {
        row("swPortConfig", 18, 90,
            "insert into swPortConfig(rowid, switchName, portNumber) values(90, 'BCM', 6)"),
        row("swPortConfig", 18, 91,
            "insert into swPortConfig(rowid, switchName, portNumber, phyDevice)"
            " values(91, 'PSE', 6, 'BCM:6,BCM:3')"),
        row("swGlobalCfg", 18, 92, "insert into swGlobalCfg(rowid, switchName) values(92, 'BCM')"),
        row("vlanEncapIf", 18, 50,
            "insert into vlanEncapIf(rowid, vlanId, interfaceName, fwdMap) values(50, 50, 'eth1', '1')"),
        row("vlanEncapIf", 23, 5,
            "update vlanEncapIf set fwdMap = '3', inSwitchOnly = 1 where vlanId = 14"),
        [] { dbEvent("vlanEncapIf", 9, 5, oldRow); },
        [] { interfaceEvent(22, 10000, 50); },
        [] { switchRequest("PSE", 47, bytesOf(int32_t{0})); },
        [] { switchRequest("PSE", 48, "\xff\xff\xff\xff\4\0\0\0\1"s); },
        [] { switchRequest("PSE", 49, bytesOf(int32_t{0})); },
        [] { switchRequest("PSE", 50, "\2\0\0\0\1\0\0\0\x80\2"s); },
        [] { switchRequest("BCM", 33, bytesOf(int32_t{1})); },
        [] { vlanRequest(SW_CMD_VLAN_ADD, 60, "eth0", 0x6, 0x2, 1); },
        [] { vlanRequest(SW_CMD_VLAN_DELETE, 60, "eth0", 0, 0); },
    };
}

// After a fault the service answers well-formed requests as always.
void nextRequestsCheck(std::string &broken)
{
    platform::everything();
    check(broken, switchRequest("none", 47, "") == -1, "an unknown switch is answered otherwise");
    check(broken, request(4, std::string(79, 'x')) == -1, "a short event is answered otherwise");
    check(broken, platform::log() == "8 Invalid database event\\n\n", "another log");
    Switch *top = switchAtTopLevelGet();
    const int wanted = top != nullptr ? 0 : -22;
    check(broken, vlanRequest(SW_CMD_VLAN_ADD, 77, "eth0", 0x2, 0) == wanted, "no add");
    const std::string done = platform::hardware();
    check(broken, top == nullptr || done.ends_with(" eth0.77 7 7\n"), "no sub-interface");
    check(broken, top == nullptr || switchVlanByIdGet(top, 77) != nullptr, "no VLAN 77");
    check(broken, vlanRequest(SW_CMD_VLAN_DELETE, 77, "eth0", 0, 0) == wanted, "no delete");
    check(broken, switchVlanByIdGet(top, 77) == nullptr, "VLAN 77 is still there");
}

struct Injected {
    const Expectation *expectation = nullptr; // none: the run without a fault
    std::string line;
    int result = 0;
    size_t position = 0; // of the call among those that are no log records
};

struct Scenario {
    Injected injected;
    std::string broken;
    std::string after;     // calls after the fault, or all
    std::string before;    // of a start that failed and was repeated
    bool asking = false;   // the next requests are on their way; no fault is due
    bool stopping = false; // nothing is left to compare when a fault comes now

    void startService()
    {
        if (swMgrInit(Fixture::path) == 0)
            return;
        check(broken, pSwMgrRelayCtx == nullptr && swMgrInitialized == 0 && pDB == nullptr,
              "a failed start leaves something behind");
        before = platform::everything();
        check(broken, swMgrInit(Fixture::path) == 0, "the second start fails");
    }

    void run()
    {
        Fixture gateway;
        rowsInsert(gateway);
        startService();
        check(broken, brokenInvariant().empty(), "start: " + brokenInvariant());
        int number = 0;
        for (const auto &body : requests(gateway)) {
            platform::onListen([this, body, &number] {
                body();
                const std::string what = brokenInvariant();
                check(broken, what.empty(), "request " + std::to_string(number) + ": " + what);
                ++number;
            });
        }
        platform::onListen([this] {
            after = platform::everything();
            asking = true;
            nextRequestsCheck(broken);
            asking = false;
            stopping = injected.expectation == nullptr;
        });
        swMgrRun();
        const std::string what = brokenInvariant();
        check(broken, what.empty(), "at the end: " + what);
        check(broken, swMgrDeinit() == 0 && pSwMgrRelayCtx == nullptr && pDB == nullptr,
              "the stop is not clean");
        if (injected.expectation != nullptr)
            aftermathCheck();
    }

    void aftermathCheck()
    {
        const std::string text = before + after;
        const Expectation &wanted = *injected.expectation;
        if (wanted.message != nullptr && injected.result < 0)
            check(broken, text.find(wanted.message) != std::string::npos,
                  std::string("not logged: ") + wanted.message);
        std::istringstream lines(text);
        std::string next;
        while (std::getline(lines, next) && next.rfind("log ", 0) == 0)
            continue;
        if (wanted.notNext != nullptr && injected.result < 0)
            check(broken, next.rfind(wanted.notNext, 0) != 0, "followed by " + next);
    }
};

std::string withoutLog(const std::string &text)
{
    std::istringstream lines(text);
    std::string out;
    for (std::string line; std::getline(lines, line);)
        out += line.rfind("log ", 0) == 0 ? "" : line + "\n";
    return out;
}

// Forks at each call of one run and collects what the children find.
class Injector {
public:
    explicit Injector(std::string undisturbed) : baseline(std::move(undisturbed)) {}

    int operator()(const std::string &line, int result)
    {
        if (child || scenario.asking)
            return result;
        calls += line.starts_with("log ") ? 0 : 1;
        const Expectation *wanted = expectationOf(line);
        if (wanted == nullptr) {
            ADD_FAILURE() << "no fault is known for: " << line;
            return result;
        }
        const bool counted =
            line.rfind("log ", 0) != 0 && line.rfind("sqlite3_", 0) != 0 && line != "calloc";
        if (counted)
            ++position;
        if (!due(line, *wanted))
            return result;
        for (const int fault : wanted->results) {
            if (fault == 0 || !forked())
                continue;
            child = true;
            scenario.injected = {wanted, line, fault, position};
            platform::everything(); // what follows is the aftermath
            return fault;
        }
        return result;
    }

    // In the parent: the end of the run without a fault. In a child: the verdict.
    void finish()
    {
        if (!child) {
            while (!running.empty())
                reap();
            return;
        }
        const Injected &injected = scenario.injected;
        if (injected.expectation->unaffected && !scenario.stopping)
            check(scenario.broken, withoutLog(scenario.after) == rest(injected.position),
                  "the hardware calls after it differ");
        if (!scenario.broken.empty())
            fprintf(stderr, "%s -> %d:\n%s", injected.line.c_str(), injected.result,
                    scenario.broken.c_str());
        fflush(nullptr);
        _exit(scenario.broken.empty() ? 0 : 1);
    }

    Scenario scenario;
    size_t calls = 0; // that are no log records
    int logRecords = 0;
    int faults = 0;
    int failed = 0;

private:
    // Where a run costs more (sanitizers, emulator), the first of a kind fail and
    // then one in 9, of log records one in 64.
    bool due(const std::string &line, const Expectation &kind)
    {
        const int seen = ++seenOf[&kind];
        if (line.starts_with("log "))
            return ++logRecords % 64 == 0 || !frugal;
        return !frugal || seen <= 6 || seen % 9 == 0;
    }

    bool forked()
    {
        if (running.size() >= 2)
            reap();
        fflush(nullptr);
        const pid_t pid = fork();
        if (pid == 0)
            return true;
        running.push_back(pid);
        ++faults;
        return false;
    }

    void reap()
    {
        int status = 0;
        waitpid(running.front(), &status, 0);
        running.pop_front();
        failed += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
        if (WIFSIGNALED(status))
            fprintf(stderr, "a fault ended in signal %d\n", WTERMSIG(status));
    }

    // The undisturbed run's calls after the given number of them.
    std::string rest(size_t skipped) const
    {
        size_t at = 0;
        for (size_t i = 0; i < skipped; ++i)
            at = baseline.find('\n', at) + 1;
        return baseline.substr(at);
    }

    std::string baseline; // calls of the run without a fault
    std::deque<pid_t> running;
    std::map<const Expectation *, int> seenOf;
    const bool frugal = !platform::blocksAreTracked() || getenv("FAULTS_FRUGAL") != nullptr;
    size_t position = 0;
    bool child = false;
};

// The calls of a run in a process of its own; `rule` fails those that match.
std::string callsOf(const char *rule)
{
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    fflush(nullptr);
    if (fork() == 0) {
        platform::answer(rule, -5);
        Scenario run;
        run.run();
        const std::string text = withoutLog(run.after);
        fprintf(stderr, "%s", run.broken.c_str());
        const bool written = write(ends[1], text.data(), text.size()) == ssize_t(text.size());
        _exit(written && run.broken.empty() ? 0 : 1);
    }
    close(ends[1]);
    std::string calls;
    char piece[4096];
    for (ssize_t n; (n = read(ends[0], piece, sizeof(piece))) > 0;)
        calls.append(piece, static_cast<size_t>(n));
    close(ends[0]);
    int status = 0;
    wait(&status);
    EXPECT_EQ(0, status);
    return calls;
}

TEST(Faults, aLogThatNobodyTakesChangesNothing)
{
    EXPECT_EQ(callsOf("no such call"), callsOf("log "));
}

TEST(Faults, noSingleFaultDoesMoreThanItsOwnHarm)
{
    Injector injector(callsOf("no such call"));
    platform::intercept(
        [&](const std::string &line, int result) { return injector(line, result); });
    injector.scenario.run();
    injector.finish();
    printf("%d faults injected in %zu calls and %d log records\n", injector.faults, injector.calls,
           injector.logRecords);
    EXPECT_EQ("", injector.scenario.broken);
    EXPECT_EQ(0, injector.failed);
    EXPECT_GT(injector.faults, 200);
}

} // namespace
