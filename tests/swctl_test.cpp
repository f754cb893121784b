// swctl, run as a program against a service simulated by this process: what it sends byte
// for byte, what it leaves in the database, what it prints and how it ends.
#include "platform/relay.h"
#include "swmgr/swmgr_client.h"

#include "common/log_entry.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <sqlite3.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::string_literals;

namespace {

#define EXPECT_HAS(text, part)   EXPECT_PRED_FORMAT2(testing::IsSubstring, part, text)
#define EXPECT_LACKS(text, part) EXPECT_PRED_FORMAT2(testing::IsNotSubstring, part, text)

struct Message {
    int type;
    std::string data;
    std::string buffer; // as it was sent
};

// A relay module of this process, served by a separate thread.
class Module {
public:
    using Answer = std::function<int(const Message &, std::string &reply)>;

    Module(int id, Answer how) : answer(std::move(how))
    {
        context = relayRegister(id, 0, &Module::handle, this);
        server = std::thread([this] {
            while (!stopped)
                relayListen(context, 10000);
        });
    }
    ~Module()
    {
        stopped = true;
        server.join();
        relayUnRegister(context);
    }

    std::vector<Message> taken()
    {
        const std::lock_guard guard(lock);
        return std::exchange(messages, {});
    }

private:
    static int handle(void *self, RelayMsgHdr *, int type, void *data, int length, void *buffer,
                      uint32_t *bufferLength)
    {
        auto &module = *static_cast<Module *>(self);
        Message message{
            type, std::string(static_cast<char *>(data), static_cast<size_t>(length)), {}};
        if (buffer != nullptr)
            message.buffer.assign(static_cast<char *>(buffer), *bufferLength);
        std::string reply;
        const int status = module.answer(message, reply);
        if (!reply.empty()) {
            memcpy(buffer, reply.data(), reply.size());
            *bufferLength = static_cast<uint32_t>(reply.size());
        }
        const std::lock_guard guard(module.lock);
        module.messages.push_back(std::move(message));
        return status;
    }

    Answer answer;
    RelayCtx *context = nullptr;
    std::mutex lock;
    std::vector<Message> messages; // under the lock
    std::atomic<bool> stopped = false;
    std::thread server;
};

struct Result {
    int status;
    std::string out, err;
};

std::string contents(const std::string &path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class Swctl : public ::testing::Test {
protected:
    Swctl()
    {
        char name[] = "/tmp/swctl-test-XXXXXX";
        directory = mkdtemp(name);
        database = directory + "/config.db";
        setenv("RELAY_DIR", directory.c_str(), 1);
        setenv("SWMGR_DATABASE", database.c_str(), 1);
        setenv("LC_ALL", "C.UTF-8", 1);
        unsetenv("NO_COLOR");
        sql(contents(SCHEMA) +
            "INSERT INTO vlanEncapIf(rowid, vlanId, interfaceName, fwdMap, untagMap, inSwitchOnly)"
            " VALUES(7, 10, 'eth0', '0,1', '1', 0)");
    }
    ~Swctl() override { std::filesystem::remove_all(directory); }

    // Values of all rows of the result, columns joined by "|", rows by "\n".
    std::string sql(const std::string &text)
    {
        sqlite3 *db = nullptr;
        std::string rows;
        const auto append = [](void *to, int count, char **values, char **) {
            auto &lines = *static_cast<std::string *>(to);
            for (int i = 0; i < count; ++i)
                lines += (i == 0 ? "" : "|") + std::string(values[i] ? values[i] : "NULL");
            lines += '\n';
            return 0;
        };
        EXPECT_EQ(sqlite3_open(database.c_str(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, text.c_str(), append, &rows, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db);
        sqlite3_close(db);
        return rows;
    }

    std::string everything()
    {
        return sql("SELECT rowid, *, typeof(vlanId), typeof(fwdMap) FROM vlanEncapIf ORDER BY 1;"
                   "SELECT rowid, * FROM swPortConfig ORDER BY 1;"
                   "SELECT rowid, * FROM swGlobalCfg ORDER BY 1");
    }

    Result run(const std::string &arguments, const std::string &before = "")
    {
        const std::string line = before + std::string(SWCTL_PROGRAM) + " " + arguments + " >" +
                                 directory + "/out 2>" + directory + "/err";
        const int status = system(line.c_str());
        return {WEXITSTATUS(status), contents(directory + "/out"), contents(directory + "/err")};
    }

    // The service, giving everything the same answer.
    static std::unique_ptr<Module> service(int status)
    {
        return std::make_unique<Module>(
            SWMGR_RELAY_MODULE_ID, [status](const Message &, std::string &) { return status; });
    }

    std::string directory, database;
};

std::string padded(std::string text, size_t size)
{
    text.resize(size);
    return text;
}

bool isNoAscii(char c)
{
    return c < ' ' || c > '~';
}

// There is no hardware to read, and none of the rows' interfaces exist.
#define BLIND " --no-verify --force"
constexpr const char *changes[] = {
    "vlan add 20 --ports 1" BLIND, "vlan set 10 --ports 4 --logical x" BLIND,
    "vlan delete 10" BLIND, "port add PSE 1" BLIND, "switch add PSE --level 2" BLIND};

TEST_F(Swctl, aRefusedChangeLeavesTheDatabaseAsItWas)
{
    // Text in a number's column and a number in a text's must come back as such.
    sql("INSERT INTO vlanEncapIf(rowid, vlanId, fwdMap, egressMap) VALUES(3, 'x', 5.5, x'00ff')");
    const std::string before = everything();
    const auto module = service(-22);
    for (const char *change : changes) {
        const Result result = run(change);
        EXPECT_EQ(result.status, 1) << change;
        EXPECT_HAS(result.err, "the service answered -22 (refused as invalid)");
        EXPECT_EQ(everything(), before) << change;
        const bool ofVlan = std::string(change).starts_with("vlan");
        EXPECT_EQ(module->taken().size(), ofVlan ? 2u : 1u) << "the row put back is announced too";
    }
}

TEST_F(Swctl, aRowThatAnotherWriterChangedIsNotPutBack)
{
    const Module module(SWMGR_RELAY_MODULE_ID, [this](const Message &, std::string &) {
        sql("UPDATE vlanEncapIf SET fwdMap = '4'");
        return -1;
    });
    const Result result = run("vlan set 10 --ports 2" BLIND);
    EXPECT_EQ(result.status, 4);
    EXPECT_HAS(result.err, "another writer has changed row 7");
    EXPECT_EQ(sql("SELECT fwdMap FROM vlanEncapIf"), "4\n");
}

TEST_F(Swctl, withoutAServiceOnlyOfflineChangesStay)
{
    const std::string before = everything();
    for (const char *change : changes) {
        const Result result = run(change);
        EXPECT_EQ(result.status, 3) << result.err;
        EXPECT_EQ(everything(), before) << change;
    }
    for (const char *change : changes)
        EXPECT_EQ(run(std::string(change) + " --offline").status, 0);
    EXPECT_EQ(sql("SELECT vlanId, fwdMap FROM vlanEncapIf"), "20|1\n");
    EXPECT_EQ(run("vlan add 20 --offline").status, 1) << "nobody would refuse it until the start";
}

TEST_F(Swctl, outputThatCannotBeWrittenIsAFailure)
{
    for (const char *line : {"show", "--help", "vlan list --json", "vlan add 20 --offline --force"})
        EXPECT_EQ(run(std::string(line) + " >/dev/full; exit $? #").status, 2) << line;
}

TEST_F(Swctl, anErrnoValueFromTheServiceIsARefusalAndNotAnUnreachableService)
{
    for (const int status : {-2, -110, -104}) {
        const auto module = service(status);
        EXPECT_EQ(run("command 47 --switch PSE").status, 1) << status;
        EXPECT_EQ(run("vlan set 10 --ports 2" BLIND).status, 1) << status;
    }
}

// lan3 is down, lan4 stands alone, lan5 is not there, wlan0 is a port that no row names.
constexpr const char *kernelLinks = R"(#!/bin/sh
echo '[{"ifname":"br0","flags":["UP"],"linkinfo":{"info_kind":"bridge","info_data":{"vlan_filtering":1}}},
{"ifname":"lan1","master":"br0","flags":["UP"]},{"ifname":"lan2","master":"br0","flags":["UP"]},
{"ifname":"lan3","master":"br0","flags":[]},{"ifname":"lan4","flags":["UP"]},
{"ifname":"wlan0","master":"br0","flags":["UP"]}]')";
constexpr const char *kernelVlans = R"(#!/bin/sh
echo '[{"ifname":"br0","vlans":[{"vlan":10}]},{"ifname":"lan1","vlans":[{"vlan":10},{"vlan":30,"vlanEnd":40}]},
{"ifname":"lan2","vlans":[{"vlan":10,"flags":["PVID","Egress Untagged"]}]},
{"ifname":"lan3","vlans":[{"vlan":10}]},{"ifname":"wlan0","vlans":[{"vlan":10}]}]')";

TEST_F(Swctl, framesAtAPortOfABridgeAreExplainedByWhatTheKernelHolds)
{
    sql("UPDATE vlanEncapIf SET interfaceName = 'br0', fwdMap = '0,1,2'; INSERT INTO swGlobalCfg "
        "(switchName, switchDevice, switchLevel, vlanEnable) VALUES ('BRIDGE', 'br0', 1, 1)");
    for (const char *port : {"0", "1", "2", "3", "4"})
        sql("INSERT INTO swPortConfig (switchName, portNumber, interfaceName) VALUES ('BRIDGE', "s +
            port + ", 'lan' || (1 + " + port + "))");
    std::ofstream(directory + "/ip") << kernelLinks;
    std::ofstream(directory + "/bridge") << kernelVlans;
    ASSERT_EQ(system(("chmod +x " + directory + "/ip " + directory + "/bridge").c_str()), 0);
    const std::string path = "PATH=" + directory + ":$PATH ";
    const Result result = run("explain vlan 10 port all", path);
    EXPECT_EQ(result.status, 4);
    size_t from = 0;
    for (const char *part :
         {"port 0 of", "tagged     in VLAN 10, to 1U, wlan0 and the host",
          "untagged   dropped: the port is untagged in no VLAN", "port 1 of",
          "untagged   in VLAN 10, to 0T, wlan0 and the host", "port 2 of", "dropped: lan3 is down",
          "lan3: in br0, down, should be in br0, up", "fix it: restart the service", "port 3 of",
          "lan4: in no bridge, up, should be", "to add it  swctl vlan set 10 --ports 0,1,2,3",
          "port 4 of", "create the interface lan5"}) {
        from = std::min(result.out.find(part, from), result.out.size());
        EXPECT_NE(from, result.out.size()) << part << " is missing in\n" << result.out;
    }
    EXPECT_HAS(run("diff", path).out, "VLAN 35 in the bridge: lan1 T, should be -");
    EXPECT_EQ(run("explain vlan 10 port 7", path).status, 2);
}

TEST_F(Swctl, wrongArgumentsEndWithStatusTwoAndChangeNothing)
{
    const auto module = service(0);
    const std::string before = everything();
    // The required part of the message follows the arrow.
    std::istringstream lines(R"x(frobnicate
vlna add 20 => there is no command 'vlna'; did you mean 'vlan'?
vlan ad 20 => there is no command 'ad'; did you mean 'add'?
vlan add 20 --prots 1 => there is no option '--prots'; did you mean '--ports'?
show --database . => database .: it is a directory
show --database $PIPE => it is not a file
vlan add
vlan add 0
vlan add 4095
vlan add 20 --ports 32
vlan add 20 --ports 3-1
vlan add 20 --interface 'eth0;reboot'
vlan add 20 --logical $LONG
vlan add 20 --switch-only maybe
vlan add 20 --logical "$(printf 'a\033[2J')"
vlan set 10
vlan show 11 => there is no VLAN 11 in the database
vlan list --id 9,5-3 => is not a list of VLAN ids
vlan set 11 --ports 1 => there is no VLAN 11 in the database
vlan set 10 --ports 1 --database /nonexistent/db => No such file or directory
port add PSE 32
port add PSE 1 --map BCM
port add PSE 1 --trust-mode 5
port add a,b 1
switch add $LONG
rate-limit --port 1
rate-limit --port 1 --rate 1300481
rate-limit --port 1 --rate 64 --off
queues --port 1 --queues 3
queues --port 1 --weights 0
qos 1
bandwidth eth1 100 101
bandwidth eth1 4294967295 100
event t 1 insert --old novalue
command 47 --payload abc
log --level loud)x");
    setenv("LONG", std::string(64, 'a').c_str(), 1);
    setenv("PIPE", (directory + "/pipe").c_str(), 1);
    ASSERT_EQ(mkfifo(getenv("PIPE"), 0600), 0);
    for (std::string line; std::getline(lines, line);) {
        const size_t arrow = std::min(line.find(" => "), line.size());
        const Result result = run(line.substr(0, arrow));
        EXPECT_HAS(result.err, line.substr(std::min(arrow + strlen(" => "), line.size())));
        EXPECT_EQ(result.status, 2) << line;
        EXPECT_EQ(result.err.rfind("swctl: ", 0), 0u) << line;
        EXPECT_EQ(result.out, "") << line;
    }
    EXPECT_EQ(module->taken().size(), 0u);
    EXPECT_EQ(everything(), before);
}

TEST_F(Swctl, aFileIsComparedWithTheRows)
{
    const std::string file = directory + "/new.json";
    EXPECT_EQ(run("export " + file).status, 0);
    EXPECT_EQ(run("diff " + file).out, "The rows match the file.\n");
    std::ofstream(file) << R"({"vlans": [{"vlan": 11, "interface": "eth0", "members": [3]}]})";
    const std::string before = everything();
    const Result different = run("diff " + file);
    EXPECT_EQ(different.status, 4);
    EXPECT_HAS(different.out, "VLAN 10 deleted\n");
    EXPECT_HAS(different.out, "VLAN 11 added: interface eth0, ports 3\n");
    EXPECT_HAS(run("diff --json " + file).out, R"({"outcome":"different","changes":["VLAN 10)");
    EXPECT_EQ(run("diff " + file + "x").status, 2);
    EXPECT_EQ(everything(), before);
}

TEST_F(Swctl, rangesOfVlansAreOneChange)
{
    const std::tuple<const char *, int, const char *> lines[] = {
        {"vlan add 400-402,7 --interface eth0 --ports 1,2", 0, "10 20 7 400 401 402"},
        {"vlan add 402-404 --interface eth0 --ports 1", 1, "10 20 7 400 401 402"},
        {"vlan delete 7,400-401", 0, "10 20 402"},
        {"vlan delete 401-402", 2, "10 20 402"},
        {"vlan set 10,402 --id 5", 2, "10 20 402"},
        {"vlan add 0-3 --interface eth0 --ports 1", 2, "10 20 402"},
        {"vlan add 5000 --interface eth0 --ports 1", 2, "10 20 402"},
        {"request vlan-add 9 --ports +1", 2, "10 20 402"},
        {"vlan set 402 --ports +3,1", 2, "10 20 402"},
        {"vlan set 402 --ports +3,-1", 0, "10 20 402"},
    };
    sql("DELETE FROM vlanEncapIf; INSERT INTO vlanEncapIf(vlanId, interfaceName, fwdMap) "
        "VALUES(10, 'eth0', '1'), (20, 'eth0', '2')");
    for (const auto &[line, status, ids] : lines) {
        const bool writes = std::string_view(line).starts_with("vlan");
        const Result result = run(line + std::string(writes ? " --offline --force" : ""));
        EXPECT_EQ(result.status, status) << line << result.err;
        EXPECT_EQ(sql("SELECT group_concat(vlanId, ' ') FROM vlanEncapIf"), ids + "\n"s) << line;
    }
    EXPECT_EQ(sql("SELECT fwdMap FROM vlanEncapIf WHERE vlanId = 402"), "2,3\n");
}

TEST_F(Swctl, requestsCarryTheirRecords)
{
    const auto module = service(0);
    sql(R"(INSERT INTO swGlobalCfg(switchName, switchDevice, switchLevel)
             VALUES('PSE', NULL, 2), ('BCM', '/dev/bcm', 1);
           INSERT INTO swPortConfig(switchName, portNumber, rateLimit)
             VALUES('PSE', 1, 0), ('PSE', 2, 64))");
    struct Case {
        const char *arguments;
        int type;
        std::string start; // of the data; the rest is zero
        size_t length;
        std::string buffer;
    };
    const std::string pse = padded("PSE", 64);
    const std::string bandwidth =
        padded("", 32) + "\xa0\x86\x01\0"s + padded("", 4) + "\x32\0\0\0"s;
    const std::string vlan = padded("", 64) + "\x1e\0\0\0"s + padded("guests", 128) +
                             padded("eth0", 64) + padded("lan", 64) + padded("", 1024) +
                             "\x06\0\0\0\x04\0\0\0\0\0\0\0\x01\0\0\0"s;
    const Case cases[] = {
        {"rate-limit --port 1 --rate 20480" BLIND, 50, pse + "\1\0\0\0\1\0\0\0\0\x50\0\0"s, 1364,
         ""},
        {"rate-limit --port 2 --off" BLIND, 50, pse + "\2"s, 1364, ""},
        {"qos on" BLIND, 47, pse + "\1", 1364, ""},
        {"pause-frames on" BLIND, 49, pse + "\1", 1364, ""},
        {"bandwidth eth1 100000 50 --event 25", 5, padded("eth1", 132) + "\x19", 1132, bandwidth},
        {"request vlan-add 30 --name guests --interface eth0 --logical lan --ports 1,2 "
         "--untagged 2 --switch-only on",
         36, vlan, 1364, ""},
        {"request vlan-delete 30", 38, padded("", 64) + "\x1e", 1364, ""},
        {"event vlanEncapIf -1 77 --old a=1 --old b= --old-hex 4142 --length 79", 4,
         padded("vlanEncapIf", 64) + std::string(8, '\xff') + "\x4d", 79,
         "a\0b\0"
         "1\0\0AB"s},
        {"command 99 --switch X --payload 01ff --length 66", 99, padded("X", 64) + "\x01\xff", 66,
         ""},
    };
    for (const Case &expected : cases) {
        const Result result = run(expected.arguments);
        EXPECT_EQ(result.status, 0) << expected.arguments << result.err;
        const std::vector<Message> messages = module->taken();
        ASSERT_EQ(messages.size(), 1u) << expected.arguments;
        EXPECT_EQ(messages[0].type, expected.type);
        EXPECT_EQ(messages[0].data, padded(expected.start, expected.length)) << expected.arguments;
        EXPECT_EQ(messages[0].buffer, expected.buffer) << expected.arguments;
    }
}

constexpr const char *gateway = R"(
INSERT INTO swGlobalCfg(switchName, switchDevice, vlanEnable, qosEnable, switchLevel)
  VALUES('BCM','/dev/bcm',1,0,1),('PSE','',0,1,2);
INSERT INTO swPortConfig(switchName, portNumber, PVID) VALUES
  ('BCM',0,1),('BCM',1,1),('BCM',2,1),('BCM',3,1),('BCM',4,1);
INSERT INTO swPortConfig(switchName, portNumber, interfaceName, phyDevice) VALUES
  ('PSE',1,'eth0','BCM:1,BCM:2'),('PSE',3,'eth1','BCM:4');
INSERT INTO vlanEncapIf(vlanId, interfaceName, fwdMap, untagMap) VALUES(20,'eth1','3','3');
INSERT INTO vlanEncapIf(vlanId, interfaceName, fwdMap, untagMap, inSwitchOnly)
  VALUES(30,'eth0','1,2','1',1),(4000,'eth9','','4',0);
)";

TEST_F(Swctl, showDrawsTheSwitchesAndTheMembership)
{
    sql(gateway);
    std::ofstream(directory + "/site.json") << R"({"devices":{"/dev/bcm":"."},"interfaces":)"
                                               R"({"eth0":"02:00:00:00:00:10",)"
                                               R"("eth1":"02:00:00:00:00:11"}})";
    EXPECT_EQ(run("show").out, R"(PSE  level 2 (top)  VLAN off  QoS on
├─ port 1   eth0       ─> BCM:1, BCM:2
└─ port 3   eth1       ─> BCM:4
BCM  level 1  /dev/bcm  VLAN on  QoS off
├─ port 0   -
├─ port 1   -
├─ port 2   -
├─ port 3   -
└─ port 4   -

                    PSE             BCM
VLAN  interface     1    2    3     0    1    2    3    4
  10  eth0          T    C    .     T    U    .    .    C
  20  eth1          .    C    T     C    .    .    U    .
  30  eth0          T    C    .     C    U    T    .    .  switch only
4000  eth9          .    .    .     .    .    .    .    .
PVID                -    -    -     1   30    1   20 4000

T tagged  U untagged  C CPU port (CU: untagged)  . not a member
note: VLAN 4000: port 4 is in untagMap but not in fwdMap
note: VLAN 30: port 1 is also untagged in VLAN 10
note: 'swctl check' reports 2 errors and 4 warnings
)");
    // The port to the host shows where the row names it as well, and where a start stops.
    sql("INSERT INTO vlanEncapIf(vlanId, interfaceName, fwdMap, inSwitchOnly)"
        " VALUES(50, 'eth1', '0,3', 1), (60, 'eth9', '1', 0), (70, 'eth0', '2', 0)");
    const Result stopped = run("show");
    EXPECT_HAS(stopped.out,
               "  50  eth1          T    C    T     C    .    .    T    .  switch only");
    EXPECT_HAS(stopped.out, "start stops here\n  70");
    EXPECT_HAS(stopped.out, "A fresh start stops at row 6 of vlanEncapIf, VLAN 60\n  service: ");
    EXPECT_HAS(stopped.out, "not applied: VLAN 60, 70\n");
    EXPECT_HAS(run("show --json").out, R"("row":6,"name":"VLAN 60","status":-)");
    setenv("LC_ALL", "C", 1);
    EXPECT_HAS(run("show").out, "`- port 3   eth1       -> BCM:4\n");
    // Too wide for the terminal: the second switch moves below the first.
    const std::string line = "COLUMNS=50 script -qec '" SWCTL_PROGRAM " show' /dev/null >" +
                             directory + "/out </dev/null";
    ASSERT_EQ(system(line.c_str()), 0);
    EXPECT_HAS(contents(directory + "/out"), "PVID                -    -    -\r\n\r\n");
}

TEST_F(Swctl, initMakesADatabaseOnlyWhereThereIsNone)
{
    const char *tables = "SELECT sql FROM sqlite_master WHERE type = 'table' ORDER BY name";
    const std::string schema = sql(tables);
    const std::string before = everything();
    EXPECT_EQ(run("init").status, 1);
    EXPECT_EQ(everything(), before);
    std::filesystem::remove(database);
    std::ofstream(database + "-journal") << "of another database";
    EXPECT_EQ(run("init").status, 1);
    std::filesystem::remove(database + "-journal");
    EXPECT_EQ(run("init --template gateway --constraints").status, 0);
    EXPECT_EQ(sql(tables), schema);
    EXPECT_EQ(sql("SELECT count(*) FROM swPortConfig"), "9\n");
    EXPECT_EQ(sql("SELECT count(*) > 0 FROM sqlite_master WHERE type = 'trigger'"), "1\n");
    EXPECT_EQ(std::filesystem::status(database).permissions(), std::filesystem::perms(0660));
}

TEST_F(Swctl, aCompletionOffersNothingThatAShellWouldTakeForMore)
{
    sql("INSERT INTO swGlobalCfg(switchName) VALUES('BCM'), ('$(reboot)'), ('a b'), ('-x')");
    EXPECT_EQ(run("--complete switches").out, "BCM\n");
    EXPECT_EQ(run("vlan show --complete vlans").out, "10\n");
    run("vlan set 10 --ports 2 --offline --force");
    EXPECT_EQ(run("history show --complete changes").out, "1\n");
    const Result none = run("--complete vlans --database /nonexistent/db");
    EXPECT_EQ(std::to_string(none.status) + none.out + none.err, "0");
}

TEST_F(Swctl, whatIsPrintedAsJsonIsJson)
{
    sql(gateway);
    sql("UPDATE vlanEncapIf SET LogicalIfName = char(27, 155, 8238) || '\"\\' || x'ff'");
    const auto module = service(-1);
    for (const char *line : {"vlan list", "port list", "switch list", "show", "vlan add 50" BLIND,
                             "vlan set 10 --ports 1 --offline --force", "qos on"}) {
        const Result result = run(std::string(line) + " --json");
        std::string quoted;
        for (const char c : result.out)
            quoted += c == '\'' ? "''" : std::string(1, c);
        EXPECT_EQ(sql("SELECT json_valid('" + quoted + "')"), "1\n") << line << result.out;
        EXPECT_EQ(std::count_if(quoted.begin(), quoted.end(), isNoAscii), 1) << "the line end";
    }
}

TEST_F(Swctl, textFromTheDatabaseCannotDriveTheTerminalOrThePicture)
{
    sql(gateway);
    sql("UPDATE vlanEncapIf SET LogicalIfName = char(27) || '[2J<b>&' || char(10),"
        " interfaceName = char(155, 65534) || 'é';"
        "UPDATE swPortConfig SET portNumber = -2147483648, phyDevice = 'BCM:-2147483648'");
    const std::string shown = run("vlan list").out + run("show").out;
    EXPECT_HAS(shown, "\\x1b[2J<b>&\\x0a");
    EXPECT_HAS(shown, "\\xc2\\x9b\xef\xbf\xbeé");
    EXPECT_LACKS(shown, "\x1b");
    EXPECT_EQ(run("show --svg " + directory + "/x.svg").status, 0);
    const std::string svg = contents(directory + "/x.svg");
    EXPECT_HAS(svg, "\\x1b[2J&lt;b&gt;&amp;\\x0a");
    EXPECT_LACKS(svg, "\x1b");
    EXPECT_LACKS(svg, "\xef\xbf\xbe") << "a code point that XML forbids";
    EXPECT_HAS(svg, "prefers-color-scheme");
    EXPECT_EQ(run("show --svg /nonexistent/x.svg").status, 2);
}

std::string logEntry(uint64_t number, int32_t level, const std::string &text)
{
    // Far in the future, so that it counts as later than any change.
    const SwMgrLogEntry entry{
        number, int64_t{4102444800} * 1000000000,  SWMGR_RELAY_MODULE_ID, level,
        0,      static_cast<uint32_t>(text.size())};
    return padded(std::string(reinterpret_cast<const char *>(&entry), sizeof(entry)) + text,
                  logEntrySize(text.size()));
}

TEST_F(Swctl, theLogIsShownAndExplainsARefusal)
{
    EXPECT_EQ(run("log --no-follow").status, 3);
    Module daemon(LOGGING_RELAY_MODULE_ID, [](const Message &message, std::string &reply) {
        if (message.type == LOGGING_MSG_MARKER)
            return 1;
        const SwMgrLogAnswer answer{1, 2, 2, 0, 2, 0};
        reply.assign(reinterpret_cast<const char *>(&answer), sizeof(answer));
        reply += logEntry(1, SWMGR_LOG_ERROR, "cmd (vconfig) returned (0).\n");
        reply += logEntry(2, SWMGR_LOG_ERROR, "(switch=PSE) This VLAN\x1b exists \n");
        return 0;
    });
    const Result log = run("log --no-follow --level error --lines 1");
    EXPECT_EQ(log.status, 0) << log.err;
    EXPECT_HAS(log.out, "error    (switch=PSE) This VLAN\\x1b exists\n");
    EXPECT_LACKS(log.out, "vconfig");
    SwMgrLogFollowRequest request{};
    memcpy(&request, daemon.taken().at(0).data.data(), sizeof(request));
    EXPECT_EQ(request.level, SWMGR_LOG_ERROR);

    const auto module = service(-22);
    const Result refused = run("vlan add 11" BLIND);
    EXPECT_EQ(refused.status, 1);
    EXPECT_HAS(refused.err, "  service: (switch=PSE) This VLAN\\x1b exists\n");
    EXPECT_LACKS(refused.err, "vconfig");
}

} // namespace
