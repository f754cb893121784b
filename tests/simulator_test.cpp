// The simulated gateway: chip and engine as models, their programs, the sandbox.
// SIMULATOR_BIN is the folder of the built programs, SIMULATOR_SOURCE that of the
// scripts.
#include "chip/chip_model.h"
#include "chip/chip_text.h"
#include "device_protocol.h"
#include "engine/host.h"
#include "engine/show.h"
#include "engine/tools.h"

#include <gtest/gtest.h>

#include <linux/if_vlan.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

struct ChipCase {
    uint32_t number;
    int64_t argument;
    Bytes record;
    int result;
    Bytes after; // empty: as before
    const char *text;
};

// In this order on one chip: later rows see what earlier ones wrote.
const ChipCase chipCases[] = {
    {0x5301, 0, {}, 0, {}, "VLAN_ENABLE -> 0"},
    {0x40075312,
     0,
     {100, 0, 0x16, 0, 2, 0, 0},
     0,
     {},
     "VLAN_ENTRY_SET vlan 100 fwd 0x16 (1,2,4) untag 0x02 (1) -> 0"},
    {0x40055308, 0, {100, 0, 4, 0, 0}, 1, {}, "VLAN_FWD_MEMBER_GET vlan 100 port 4 -> 1"},
    {0x40055308, 0, {100, 0, 3, 0, 0}, 0, {}, "VLAN_FWD_MEMBER_GET vlan 100 port 3 -> 0"},
    {0x4005530b, 0, {100, 0, 1, 0, 0}, 1, {}, "VLAN_UNTAG_MEMBER_GET vlan 100 port 1 -> 1"},
    {0x40055310, 0, {100, 0, 0, 0, 0}, 0, {}, "VLAN_CLEAR vlan 100 -> 0"},
    {0x40055308, 0, {100, 0, 4, 0, 0}, 0, {}, "VLAN_FWD_MEMBER_GET vlan 100 port 4 -> 0"},
    {0x40075312,
     0,
     {0xfe, 0x0f, 0, 0, 0, 0, 0},
     0,
     {},
     "VLAN_ENTRY_SET vlan 4094 fwd 0x00 untag 0x00 -> 0"},
    {0x40065307,
     0,
     {3, 0, 0xe8, 3, 0, 0},
     0,
     {},
     "DEFAULT_TAG_SET port 3 vid 1000 pri 0 cfi 0 -> 0"},
    {0xc0065306,
     0,
     {3, 0, 0, 0, 9, 9},
     0,
     {3, 0, 0xe8, 3, 0, 0},
     "DEFAULT_TAG_GET port 3 vid 1000 pri 0 cfi 0 -> 0"},
    {0x40065311, 0, {2, 0, 1, 0, 0, 0}, 0, {}, "NON8021Q_FRAMES_SET port 2 state 1 -> 0"},
    {0x40045303, 0, {1, 0, 4, 0}, 1, {}, "PORT_VLAN_MEMBER_GET port 1 member 4 -> 1"},
    {0x40045305, 0, {1, 0, 4, 0}, 0, {}, "PORT_VLAN_MEMBER_DEL port 1 member 4 -> 0"},
    {0x40045303, 0, {1, 0, 4, 0}, 0, {}, "PORT_VLAN_MEMBER_GET port 1 member 4 -> 0"},
    {0x40045304, 0, {1, 0, 4, 0}, 0, {}, "PORT_VLAN_MEMBER_ADD port 1 member 4 -> 0"},
    {0x5319, 4, {}, 1, {}, "LINK_STATUS_GET port 4 -> 1"},
    {0xc006531e, 0, {2, 0, 1, 0, 0, 0}, 0, {}, "TRUST_MODE_SET port 2 mode 1 -> 0"},
    {0xc008531f,
     0,
     {1, 0, 0, 3, 1, 2, 4, 8},
     0,
     {},
     "QUEUE_SCHED_SET port 1 mode 3 weights 1,2,4,8 -> 0"},
    {0xc0045320, 0, {1, 0, 0, 0}, 0, {}, "QOS_SET enable 1 -> 0"},
    {0xc0045321, 0, {1, 0, 0, 0}, 0, {}, "PAUSE_FRAME_SET enable 1 -> 0"},
    {0xc0075322,
     0,
     {3, 0, 1, 0xf4, 1, 0, 0},
     0,
     {},
     "RATE_LIMIT_SET port 3 command 1 rate 500 kbit/s -> 0"},
    {0xc0055323, 0, {0, 0, 7, 0, 1}, 0, {}, "COS_QUEUE_MAP_SET port 0 priority 7 queue 1 -> 0"},
    {0x5302, 0, {}, 0, {}, "VLAN_DISABLE -> 0"},
};

TEST(Chip, answersEveryRequestByItsRecord)
{
    const auto model = std::make_unique<chip::Model>();
    for (const ChipCase &row : chipCases) {
        Bytes record = row.record;
        EXPECT_EQ(model->handle(row.number, row.argument, record.data(), record.size()), row.result)
            << row.text;
        EXPECT_EQ(record, row.after.empty() ? row.record : row.after) << row.text;
        EXPECT_EQ(
            chip::requestText(row.number, row.argument, record.data(), record.size(), row.result),
            row.text);
    }
    Bytes statistics(50, 0xff);
    statistics[0] = 2;
    statistics[1] = 0;
    EXPECT_EQ(model->handle(0xc0325314, 0, statistics.data(), statistics.size()), 0);
    EXPECT_EQ(Bytes(statistics.begin(), statistics.begin() + 10),
              (Bytes{2, 0, 0xb8, 0x0b, 0, 0, 0xb9, 0x0b, 0, 0}));
}

TEST(Chip, refusesWhatItDoesNotHaveAndChangesNothing)
{
    const ChipCase refused[] = {
        {0x40075312, 0, {0, 0, 1, 0, 0, 0, 0}, -EINVAL, {}, "VLAN 0"},
        {0x40075312, 0, {0xff, 0x0f, 1, 0, 0, 0, 0}, -EINVAL, {}, "VLAN 4095"},
        {0x40075312, 0, {1, 0, 0x20, 0, 0, 0, 0}, -EINVAL, {}, "a member beyond port 4"},
        {0x40075312, 0, {1, 0, 1, 0, 0, 1, 0}, -EINVAL, {}, "an untagged port beyond port 4"},
        {0x40075312, 0, {1, 0, 1, 0, 0, 0}, -EINVAL, {}, "a short record"},
        {0x40075312, 0, {1, 0, 1, 0, 0, 0, 0, 0}, -EINVAL, {}, "a long record"},
        {0x40055310, 0, {0, 0, 0, 0, 0}, -EINVAL, {}, "clearing VLAN 0"},
        {0x40065307, 0, {5, 0, 1, 0, 0, 0}, -EINVAL, {}, "port 5"},
        {0x40065307, 0, {1, 0, 0xff, 0x0f, 0, 0}, -EINVAL, {}, "PVID 4095"},
        {0x40065307, 0, {1, 0, 1, 0, 8, 0}, -EINVAL, {}, "priority 8"},
        {0x40065311, 0, {1, 0, 2, 0, 0, 0}, -EINVAL, {}, "state 2"},
        {0x40045304, 0, {1, 0, 5, 0}, -EINVAL, {}, "member port 5"},
        {0x5319, 5, {}, -EINVAL, {}, "link of port 5"},
        {0x5319, -1, {}, -EINVAL, {}, "link of port -1"},
        {0x5301, 0, {1}, -EINVAL, {}, "a record where none belongs"},
        {0xc006531e, 0, {2, 0, 5, 0, 0, 0}, -EINVAL, {}, "trust mode 5"},
        {0xc008531f, 0, {1, 0, 0, 4, 1, 1, 1, 1}, -EINVAL, {}, "scheduling mode 4"},
        {0xc0045320, 0, {2, 0, 0, 0}, -EINVAL, {}, "QoS 2"},
        {0xc0075322, 0, {3, 0, 2, 1, 0, 0, 0}, -EINVAL, {}, "rate command 2"},
        {0xc0075322, 0, {3, 0, 1, 0, 0, 0, 0x80}, -EINVAL, {}, "a negative rate"},
        {0xc0055323, 0, {0, 0, 8, 0, 0}, -EINVAL, {}, "priority 8 to a queue"},
        {0x5303, 0, {}, -ENOTTY, {}, "the right number with the wrong direction"},
        {0xffffffff, 0, {}, -ENOTTY, {}, "no number of the driver"},
    };
    const auto model = std::make_unique<chip::Model>();
    const std::string fresh = chip::stateJson(chip::Model());
    for (const ChipCase &row : refused) {
        Bytes record = row.record;
        EXPECT_EQ(model->handle(row.number, row.argument, record.data(), record.size()), row.result)
            << row.text;
        EXPECT_EQ(record, row.record) << row.text;
    }
    EXPECT_EQ(model->refused, std::size(refused));
    model->handled = model->refused = 0;
    EXPECT_EQ(chip::stateJson(*model), fresh);
}

// A machine with eth0 and without VLAN support in its kernel.
constexpr engine::Host testHost = {
    .interfaceExists = [](const char *name) { return std::string(name) == "eth0"; },
    .kernelHasVlans = [] { return false; },
    .vlanRequest = [](vlan_ioctl_args &) { return ENOPKG; },
    .interfaceUpSet = [](const char *, bool) { return ENODEV; },
};

struct Engine {
    std::unique_ptr<engine::State> state = std::make_unique<engine::State>();
    engine::Reply reply = {};

    Engine() { engine::resetState(*state); }

    // Words are separated by single blanks, so two blanks enclose an empty one.
    int run(const std::string &line)
    {
        std::vector<std::string> words;
        size_t from = 0;
        for (size_t at; (at = line.find(' ', from)) != std::string::npos; from = at + 1)
            words.push_back(line.substr(from, at - from));
        words.push_back(line.substr(from));
        std::vector<const char *> arguments;
        for (const std::string &word : words)
            arguments.push_back(word.c_str());
        const engine::Tool *tool = engine::toolByName(arguments[0]);
        return engine::runTool(*tool, testHost, *state, static_cast<int>(arguments.size()) - 1,
                               arguments.data() + 1, reply);
    }

    std::string json() const
    {
        char *text = nullptr;
        size_t size = 0;
        FILE *out = open_memstream(&text, &size);
        engine::showJson(*state, out);
        fclose(out);
        const std::string result(text, size);
        free(text);
        return result;
    }
};

TEST(Engine, keepsWhatItsToolsWrite)
{
    Engine engine;
    for (const char *line : {
             "vlan_table_func edit 4 1 0xe 0xe 100 00:11:22:33:44:55 1",
             "vlan_table_func edit 5 0 0x0 0x0 101  1",
             "arl_table_func add 00:11:22:33:44:55 100 0x4 0x1",
             "arl_table_func add 00:11:22:33:44:55 101 0x4 0x1",
             "arl_table_func del  101",
             "arl_table_func del 00:11:22:33:44:55 4094",
             "rate_limit_func set 1 127 2",
             "tc_func set 2",
             "queue_weight_func set 1 0 0 1 2 3",
             "pri_ctl_func set 1 0 1 0 0 0",
             "sppe_ioctl rl enable",
             "memrw 1879048204 w 0x8000ffff",
             "memrw 0x70000010 w 00",
             "vconfig add eth0 100",
             "ifconfig eth0.100 up",
             "vconfig set_ingress_map eth0.100 6 7",
             "vconfig set_egress_map eth0.100 6 7",
             "vconfig add eth0 101",
             "vconfig rem eth0.101",
         })
        EXPECT_EQ(engine.run(line), 0) << line << "\n" << engine.reply.error;
    const std::string json = engine.json();
    for (const char *part : {
             "{\"rateLimiter\":1,\"queueCode\":2,\n\"registers\":{\"0x7000000c\":2147549183,"
             "\"0x70000018\":65535}",
             "{\"port\":1,\"rate\":{\"value\":127,\"unit\":2},\"queues\":{\"mode\":0,"
             "\"weights\":[0,1,2,3]},\"trustFlag\":2}",
             "\"vlans\":[\n{\"index\":4,\"vlan\":100,\"isWan\":1,\"etagMap\":14,\"mbMap\":14,"
             "\"mac\":\"00:11:22:33:44:55\"},\n"
             "{\"index\":5,\"vlan\":101,\"isWan\":0,\"etagMap\":0,\"mbMap\":0,\"mac\":\"\"}]",
             "\"arl\":[\n{\"vlan\":100,\"mac\":\"00:11:22:33:44:55\",\"portMap\":4,\"flag\":1}]",
             "\"interfaces\":[\n{\"parent\":\"eth0\",\"vlan\":100,\"up\":1,"
             "\"ingress\":[0,0,0,0,0,0,0,6],"
             "\"egress\":[0,0,0,0,0,0,7,0,0,0,0,0,0,0,0,0]}]",
         })
        EXPECT_NE(json.find(part), std::string::npos) << part << "\nin\n" << json;
    EXPECT_EQ(engine.run("memrw 0x7000000c w"), 0);
    EXPECT_STREQ(engine.reply.output, "Address : 0x7000000c\nValue : 2147549183 (0x8000ffff)\n");
}

TEST(Engine, refusesWrongArgumentsAndChangesNothing)
{
    constexpr const char *cases[][2] = {
        {"vlan_table_func", "usage: vlan_table_func edit INDEX"},
        {"vlan_table_func edit 65536 0 0x0 0x0 1 1", "INDEX '65536' is not a number from 0 to"},
        {"vlan_table_func edit 1 2 0x0 0x0 1 1", "ISWAN '2'"},
        {"vlan_table_func edit 1 0 0 0x0 1 1", "ETAG '0' is not a number from 0x0 to 0xff"},
        {"vlan_table_func edit 1 0 0x0 0x100 1 1", "MEMBERS '0x100'"},
        {"vlan_table_func edit 1 0 0x0 0x0 4095 1", "VLAN '4095'"},
        {"vlan_table_func edit 1 0 0x0 0x0 -1 1", "VLAN '-1'"},
        {"vlan_table_func edit 1 0 0x6 0x6 1 1", "an entry with members needs a MAC"},
        {"vlan_table_func edit 1 0 0x6 0x2 1 00:00:00:00:00:01 1", "ETAG names ports"},
        {"vlan_table_func edit 1 0 0x0 0x0 1 00:00:00:00:0g:01 1", "MAC '00:00:00:00:0g:01'"},
        {"vlan_table_func edit 1 0 0x0 0x0 1 00:00:00:00:00:011 1", "MAC '"},
        {"arl_table_func add 00:11:22:33:44:55 0 0x4 0x1", "VLAN '0'"},
        {"arl_table_func flush", "usage: arl_table_func add"},
        {"rate_limit_func set 8 1 0", "PORT '8' is not a number from 0 to 7"},
        {"rate_limit_func set 1 128 0", "VALUE '128'"},
        {"tc_func set 3", "CODE '3'"},
        {"tc_func set 99999999999999999999", "CODE '99999999999999999999'"},
        {"queue_weight_func set 1 0 0 1 2 8", "WEIGHT '8'"},
        {"pri_ctl_func set 1 0 1 1 0 0", "exactly one of the five flags is 1"},
        {"sppe_ioctl rl on", "usage: sppe_ioctl rl enable|disable"},
        {"memrw 0x7000000d w 0x1", "no 32-bit register at 0x7000000d"},
        {"memrw 0x70000400 w", "no 32-bit register"},
        {"memrw 0x6ffffffc w", "no 32-bit register"},
        {"memrw 0x7000000c w 0x100000000", "HEXVALUE '0x100000000'"},
        {"memrw 0x7000000c b", "usage: memrw"},
        {"vconfig add eth9 5", "cannot add a VLAN to eth9: No such device"},
        {"vconfig rem eth0.5", "cannot remove eth0.5: No such device"},
        {"vconfig set_egress_map eth0.5 0 0", "cannot map priorities of eth0.5"},
        {"ifconfig eth0.5 up", "eth0.5: No such device"},
        {"ifconfig eth0.99999999999999999999999 up", "No such device"},
    };
    Engine engine;
    const std::string before = engine.json();
    for (const auto &[line, why] : cases) {
        EXPECT_EQ(engine.run(line), 1) << line;
        EXPECT_NE(std::string(engine.reply.error).find(why), std::string::npos)
            << line << ": " << engine.reply.error;
    }
    EXPECT_EQ(engine.json(), before);
    for (int i = 0; i < 4; i++)
        EXPECT_EQ(
            engine.run("arl_table_func add 00:00:00:00:00:0" + std::to_string(i) + " 7 0x4 0x1"),
            0);
    EXPECT_EQ(engine.run("arl_table_func add 00:00:00:00:00:09 7 0x4 0x1"), engine::refused);
}

// Output and exit status of a shell command.
struct Outcome {
    std::string text;
    int status;
};

Outcome shell(const std::string &command)
{
    Outcome outcome;
    FILE *pipe = popen(("( " + command + " ) 2>&1").c_str(), "r");
    char buffer[4096];
    for (size_t length; (length = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        outcome.text.append(buffer, length);
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

struct Folder {
    std::string path;

    Folder()
    {
        char name[] = "/tmp/simulatorXXXXXX";
        path = mkdtemp(name);
    }
    ~Folder() { shell("rm -rf " + path); }
};

// A running chip and one connection to it.
struct RunningChip {
    Folder folder;
    std::string socketPath = folder.path + "/bcm.sock";
    pid_t pid = fork();
    int fd = -1;

    RunningChip()
    {
        const std::string program = SIMULATOR_BIN "/swchip";
        if (pid == 0) {
            execl(program.c_str(), "swchip", "--socket", socketPath.c_str(), nullptr);
            _exit(127);
        }
        sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
        socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
        fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        for (int tries = 0; tries < 1000; tries++) {
            if (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
                return;
            usleep(5000);
        }
        ADD_FAILURE() << "no chip at " << socketPath;
    }
    ~RunningChip()
    {
        close(fd);
        kill(pid, SIGTERM);
        int status = -1;
        waitpid(pid, &status, 0);
        EXPECT_EQ(status, 0);
        EXPECT_NE(access(socketPath.c_str(), F_OK), 0);
    }

    int exchange(const Bytes &packet) const
    {
        device::AnswerHeader answer = {.result = -1000, .reserved = 0};
        Bytes buffer(65536);
        EXPECT_EQ(send(fd, packet.data(), packet.size(), 0), static_cast<ssize_t>(packet.size()));
        if (recv(fd, buffer.data(), buffer.size(), 0) >= static_cast<ssize_t>(sizeof answer))
            memcpy(&answer, buffer.data(), sizeof answer);
        return answer.result;
    }

    static Bytes request(uint32_t number, int64_t argument, const Bytes &record)
    {
        const device::RequestHeader header = {
            .request = number, .reserved = 0, .argument = argument};
        Bytes packet(sizeof header);
        memcpy(packet.data(), &header, sizeof header);
        packet.insert(packet.end(), record.begin(), record.end());
        return packet;
    }
};

TEST(ChipProgram, survivesMalformedPacketsAndShowsAFullTable)
{
    const RunningChip chip;
    EXPECT_EQ(chip.exchange({1, 2, 3}), -EINVAL);
    EXPECT_EQ(chip.exchange(Bytes(20000, 0xff)), -EINVAL);
    EXPECT_EQ(chip.exchange(RunningChip::request(0x40075312, 0, Bytes(6))), -EINVAL);
    EXPECT_EQ(chip.exchange(RunningChip::request(device::stateRequest, 3, {})), -EINVAL);
    EXPECT_EQ(chip.exchange(RunningChip::request(device::stateRequest, device::stateNext, {})), 0);
    for (int id = 1; id <= 4094; id++) {
        const Bytes record = {
            static_cast<uint8_t>(id & 0xff), static_cast<uint8_t>(id >> 8), 0x1f, 0, 1, 0, 0};
        ASSERT_EQ(chip.exchange(RunningChip::request(0x40075312, 0, record)), 0);
    }
    const Outcome shown = shell(SIMULATOR_BIN "/swchip --show --json --socket " + chip.socketPath);
    EXPECT_EQ(shown.status, 0);
    EXPECT_GT(shown.text.size(), device::maxStatePart);
    EXPECT_NE(shown.text.find("{\"vlan\":4094,\"fwdMap\":31,\"untagMap\":1}]}\n"),
              std::string::npos);
}

TEST(EngineProgram, keepsItsStateAndTracesItsCalls)
{
    const Folder folder;
    const std::string use = "export SWENGINE_STATE=" + folder.path +
                            "/state SWENGINE_TRACE=" + folder.path +
                            "/trace; cd " SIMULATOR_BIN "; ";
    EXPECT_EQ(shell(use + "for i in 1 2 3 4 5 6 7; do ./swengine rate_limit_func set $i $i 1 & "
                          "done; wait; ./swengine tc_func set 9")
                  .text,
              "tc_func: CODE '9' is not a number from 0 to 2\n");
    const Outcome shown = shell(use + "./swengine show --json");
    EXPECT_EQ(shown.status, 0);
    for (int port = 1; port <= 7; port++)
        EXPECT_NE(shown.text.find("{\"value\":" + std::to_string(port) + ",\"unit\":1}"),
                  std::string::npos);
    const Outcome trace = shell(use + "sort " + folder.path + "/trace | head -2");
    EXPECT_EQ(trace.text, "tool  | rate_limit_func set 1 1 1 -> 0\n"
                          "tool  | rate_limit_func set 2 2 1 -> 0\n");
    EXPECT_EQ(shell(use + "echo nonsense >$SWENGINE_STATE; ./swengine tc_func set 1").status, 3);
    EXPECT_EQ(shell(use + "./swengine no_tool").status, 1);
}

TEST(Sandbox, hasTheGatewaysPathsAndLeavesTheMachineAlone)
{
    const Folder folder;
    const std::string program = "set -e; ip -br link show eth0 | awk '{ print $3 }'; "
                                "SWENGINE_VLAN=simulated /sbin/vconfig add eth1 7; "
                                "/corefs/bin/memrw 0x7000000c w | grep Value; "
                                "echo 'x' | awk '{ print lshift(1, 4) }'; "
                                "echo 5 >/var/VLAN.7.Uptime; "
                                "! touch /usr/written 2>/dev/null; "
                                "touch /run/gateway/written; exit 5";
    std::ofstream(folder.path + "/program") << program;
    const Outcome outcome =
        shell(SIMULATOR_SOURCE "/gateway --build " SIMULATOR_BIN "/.. --state " + folder.path +
              " -- sh /run/gateway/program");
    if (outcome.status == 77)
        GTEST_SKIP() << "this machine allows no sandbox: " << outcome.text;
    EXPECT_EQ(outcome.status, 5);
    EXPECT_EQ(outcome.text, "02:00:00:00:00:10\nValue : 65535 (0x0000ffff)\n16\n");
    EXPECT_EQ(shell("cat " + folder.path + "/var/VLAN.7.Uptime").text, "5\n");
    EXPECT_EQ(access((folder.path + "/written").c_str(), F_OK), 0);
    EXPECT_NE(access("/var/VLAN.7.Uptime", F_OK), 0);
}

} // namespace
