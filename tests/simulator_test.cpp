// The simulated gateway: the models of chip and engine, and the engine's program in the
// folder SIMULATOR_BIN.
#include "devices/chip/chip_model.h"
#include "devices/chip/chip_text.h"
#include "devices/engine/host.h"
#include "devices/engine/show.h"
#include "devices/engine/tools.h"

#include <gtest/gtest.h>

#include <linux/if_vlan.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

Bytes bytesOf(const std::string &hex)
{
    Bytes bytes;
    for (size_t i = 0; i < hex.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

struct ChipCase {
    uint32_t number;
    int64_t argument;
    const char *record;
    int result;
    std::string text;
};

// In this order on one chip: later rows depend on what earlier ones wrote.
const ChipCase chipCases[] = {
    {0x5301, 0, "", 0, "VLAN_ENABLE -> 0"},
    {0x40075312, 0, "64001600020000", 0,
     "VLAN_ENTRY_SET vlan 100 fwd 0x16 (1,2,4) untag 0x02 (1) -> 0"},
    {0x40055308, 0, "6400040000", 1, "VLAN_FWD_MEMBER_GET vlan 100 port 4 -> 1"},
    {0x40055308, 0, "6400030000", 0, "VLAN_FWD_MEMBER_GET vlan 100 port 3 -> 0"},
    {0x4005530b, 0, "6400010000", 1, "VLAN_UNTAG_MEMBER_GET vlan 100 port 1 -> 1"},
    {0x40055310, 0, "6400000000", 0, "VLAN_CLEAR vlan 100 -> 0"},
    {0x40055308, 0, "6400040000", 0, "VLAN_FWD_MEMBER_GET vlan 100 port 4 -> 0"},
    {0x40075312, 0, "fe0f0000000000", 0, "VLAN_ENTRY_SET vlan 4094 fwd 0x00 untag 0x00 -> 0"},
    {0x40065307, 0, "0300e8030000", 0, "DEFAULT_TAG_SET port 3 vid 1000 pri 0 cfi 0 -> 0"},
    {0x40065311, 0, "020001000000", 0, "NON8021Q_FRAMES_SET port 2 state 1 -> 0"},
    {0x40045303, 0, "01000400", 1, "PORT_VLAN_MEMBER_GET port 1 member 4 -> 1"},
    {0x40045305, 0, "01000400", 0, "PORT_VLAN_MEMBER_DEL port 1 member 4 -> 0"},
    {0x40045303, 0, "01000400", 0, "PORT_VLAN_MEMBER_GET port 1 member 4 -> 0"},
    {0x40045304, 0, "01000400", 0, "PORT_VLAN_MEMBER_ADD port 1 member 4 -> 0"},
    {0x5319, 4, "", 1, "LINK_STATUS_GET port 4 -> 1"},
    {0xc006531e, 0, "020001000000", 0, "TRUST_MODE_SET port 2 mode 1 -> 0"},
    {0xc008531f, 0, "0100000301020408", 0, "QUEUE_SCHED_SET port 1 mode 3 weights 1,2,4,8 -> 0"},
    {0xc0045320, 0, "01000000", 0, "QOS_SET enable 1 -> 0"},
    {0xc0045321, 0, "01000000", 0, "PAUSE_FRAME_SET enable 1 -> 0"},
    {0xc0075322, 0, "030001f4010000", 0, "RATE_LIMIT_SET port 3 command 1 rate 500 kbit/s -> 0"},
    {0xc0055323, 0, "0000070001", 0, "COS_QUEUE_MAP_SET port 0 priority 7 queue 1 -> 0"},
    {0x5302, 0, "", 0, "VLAN_DISABLE -> 0"},
};

TEST(Chip, answersEveryRequestByItsRecord)
{
    chip::Model model;
    for (const ChipCase &row : chipCases) {
        Bytes record = bytesOf(row.record);
        EXPECT_EQ(model.handle(row.number, row.argument, record.data(), record.size()), row.result);
        EXPECT_EQ(record, bytesOf(row.record)) << row.text;
        EXPECT_EQ(
            chip::requestText(row.number, row.argument, record.data(), record.size(), row.result),
            row.text);
    }
    Bytes tag = bytesOf("030000000909");
    EXPECT_EQ(model.handle(0xc0065306, 0, tag.data(), tag.size()), 0);
    EXPECT_EQ(tag, bytesOf("0300e8030000"));
    Bytes statistics(50, 0xff);
    statistics[0] = statistics[1] = 0;
    EXPECT_EQ(model.handle(0xc0325314, 0, statistics.data(), statistics.size()), 0);
    EXPECT_EQ(statistics[6] - statistics[2], 1);
}

TEST(Chip, refusesWhatItDoesNotHaveAndChangesNothing)
{
    const ChipCase refused[] = {
        {0x40075312, 0, "00000100000000", -EINVAL, "VLAN 0"},
        {0x40075312, 0, "ff0f0100000000", -EINVAL, "VLAN 4095"},
        {0x40075312, 0, "01002000000000", -EINVAL, "a member beyond port 4"},
        {0x40075312, 0, "01000100000100", -EINVAL, "an untagged port beyond port 4"},
        {0x40075312, 0, "0100010000000000", -EINVAL, "a long record"},
        {0x40065307, 0, "050001000000", -EINVAL, "port 5"},
        {0x40065307, 0, "0100ff0f0000", -EINVAL, "PVID 4095"},
        {0x40045304, 0, "01000500", -EINVAL, "member port 5"},
        {0x5319, -1, "", -EINVAL, "link of port -1"},
        {0x5301, 0, "01", -EINVAL, "a record where none belongs"},
        {0xc0075322, 0, "03000100000080", -EINVAL, "a negative rate"},
        {0x5303, 0, "", -ENOTTY, "the right number with the wrong direction"},
    };
    chip::Model model;
    for (const ChipCase &row : refused) {
        Bytes record = bytesOf(row.record);
        EXPECT_EQ(model.handle(row.number, row.argument, record.data(), record.size()), row.result)
            << row.text;
    }
    EXPECT_EQ(model.refused, std::size(refused));
    model.handled = model.refused = 0;
    EXPECT_EQ(chip::stateJson(model), chip::stateJson(chip::Model()));
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

    Engine() { engine::stateReset(*state); }

    // Words are separated by single spaces, so two spaces enclose an empty word.
    int run(const std::string &line)
    {
        std::string words = line;
        std::vector<const char *> arguments{words.data()};
        for (char &c : words) {
            if (c == ' ') {
                c = '\0';
                arguments.push_back(&c + 1);
            }
        }
        const engine::Tool *tool = engine::toolByName(arguments[0]);
        return engine::toolRun(*tool, testHost, *state, static_cast<int>(arguments.size()) - 1,
                               arguments.data() + 1, reply);
    }

    std::string json() const
    {
        char text[1 << 16] = {};
        FILE *out = fmemopen(text, sizeof(text), "w");
        engine::jsonPrint(*state, out);
        fclose(out);
        return text;
    }
};

TEST(Engine, refusesWrongArgumentsAndChangesNothing)
{
    constexpr const char *cases[][2] = {
        {"vlan_table_func edit 1 0 0 0x0 1 1", "ETAG '0' is not a number from 0x0 to 0xff"},
        {"vlan_table_func edit 1 0 0x6 0x6 1 1", "an entry with members needs a MAC"},
        {"vlan_table_func edit 1 0 0x6 0x2 1 00:00:00:00:00:01 1", "ETAG names ports"},
        {"vlan_table_func edit 1 0 0x0 0x0 1 00:00:00:00:0g:01 1", "MAC '00:00:00:00:0g:01'"},
        {"rate_limit_func set 8 1 0", "PORT '8' is not a number from 0 to 7"},
        {"tc_func set 99999999999999999999", "CODE '99999999999999999999'"},
        {"pri_ctl_func set 1 0 1 1 0 0", "exactly one of the five flags is 1"},
        {"memrw 0x7000000d w 0x1", "no 32-bit register at 0x7000000d"},
        {"vconfig set_egress_map eth0.5 0 0", "cannot map priorities of eth0.5"},
        {"ifconfig eth0.99999999999999999999999 up", "No such device"},
    };
    Engine engine;
    const std::string before = engine.json();
    for (const auto &[line, why] : cases) {
        EXPECT_EQ(engine.run(line), 1) << line;
        EXPECT_PRED_FORMAT2(testing::IsSubstring, why, std::string(engine.reply.error)) << line;
    }
    EXPECT_EQ(engine.json(), before);
    for (int i = 0; i < 4; ++i)
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
    for (size_t length; (length = fread(buffer, 1, sizeof(buffer), pipe)) > 0;)
        outcome.text.append(buffer, length);
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

TEST(EngineProgram, keepsItsStateAndTracesItsCalls)
{
    char folder[] = "/tmp/simulatorXXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string in = folder;
    const std::string use = "export SWENGINE_STATE=" + in + "/state SWENGINE_TRACE=" + in +
                            "/trace; cd " SIMULATOR_BIN "; ";
    EXPECT_EQ(shell(use + "for i in 1 2 3 4 5 6 7; do ./swengine rate_limit_func set $i $i 1 & "
                          "done; wait; ./swengine tc_func set 9")
                  .text,
              "tc_func: CODE '9' is not a number from 0 to 2\n");
    const Outcome shown = shell(use + "./swengine show --json");
    EXPECT_EQ(shown.status, 0);
    for (int port = 1; port <= 7; ++port)
        EXPECT_PRED_FORMAT2(testing::IsSubstring,
                            "{\"value\":" + std::to_string(port) + ",\"unit\":1}", shown.text);
    EXPECT_EQ(shell("sort " + in + "/trace | head -2").text,
              "tool  | rate_limit_func set 1 1 1 -> 0\ntool  | rate_limit_func set 2 2 1 -> 0\n");
    EXPECT_EQ(shell(use + "echo nonsense >$SWENGINE_STATE; ./swengine tc_func set 1").status, 3);
    EXPECT_EQ(shell(use + "./swengine no_tool").status, 1);
    shell("rm -rf " + in);
}

} // namespace
