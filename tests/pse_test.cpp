// The engine's backend: dispatch, forwarding, membership, settings.
#include "support/fixture.h"

#include "backends/pse/lower.h"
#include "backends/pse/mac_address.h"
#include "backends/pse/membership.h"
#include "backends/pse/pse.h"
#include "backends/pse/settings.h"

namespace {

std::string received; // by the switches below
int lowerResult = 0;

int lowerBackend(Switch *sw, int cmd, const void *payload, uint32_t length, void *replyBuf,
                 uint32_t *replyLen)
{
    received += std::string(sw->switchName) + ":" + std::to_string(cmd) + "/" +
                std::to_string(length) + (replyBuf != nullptr && *replyLen == 5 ? "r" : "");
    for (uint32_t i = 0; i < length && i < 12; ++i) {
        char hex[4];
        snprintf(hex, sizeof(hex), " %02x", static_cast<const uint8_t *>(payload)[i]);
        received += hex;
    }
    received += "\n";
    return lowerResult;
}

// The engine with ports 0, 1, 3 and 40, above two switches.
struct Engine : testing::Test {
    Engine()
    {
        strcpy(sw.switchName, "PSE");
        strcpy(lower[0].switchName, "BCM");
        strcpy(lower[1].switchName, "L2");
        salListInit(&sw.lowerLvlSwitchList);
        salListInit(&sw.portList);
        EXPECT_EQ(0, pseSwitchRegister(&sw));
        const int numbers[] = {0, 1, 3, 40};
        const int mapped[] = {1, 5, 32, 9};
        for (int i = 0; i < 4; ++i) {
            ports[i].portNumber = numbers[i];
            ports[i].ownerSwitch = &sw;
            salListNodeAppend(&sw.portList, &ports[i].link);
            below[i].portNumber = mapped[i];
            map(ports[i], below[i], nodes[i]);
        }
    }
    static void map(SwitchPort &port, SwitchPort &to, SwitchLowerLvlNode &node)
    {
        node.mapped = &to;
        salListNodeAppend(&port.mappedList, &node.link);
    }
    void forwardTo(int switches)
    {
        sw.lowerLvlCfgEnable = 1;
        for (int i = 0; i < switches; ++i) {
            lower[i].configFunc = lowerBackend;
            lowerNodes[i].lower = &lower[i];
            salListNodeAppend(&sw.lowerLvlSwitchList, &lowerNodes[i].link);
        }
    }
    template <class Record>
    int send(int cmd, const Record &record)
    {
        uint32_t replyLen = 5;
        return pseSwitchConfig(&sw, cmd, &record, sizeof(record), &replyLen, &replyLen);
    }
    Switch sw{};
    Switch lower[2]{};
    SwitchPort ports[4]{}, below[4]{};
    SwitchLowerLvlNode nodes[5]{}, lowerNodes[2]{};
};

TEST_F(Engine, forwardingAnswersForTheSwitchesBelow)
{
    EXPECT_EQ(0, send(56, uint8_t{1})); // off: its own answer
    EXPECT_EQ(-1, send(47, int32_t{2}));
    sw.lowerLvlCfgEnable = 1; // on, with nothing below
    EXPECT_EQ(0, send(56, uint8_t{1}));
    forwardTo(2);
    EXPECT_EQ(0, send(47, int32_t{2}));
    lowerResult = 1;
    EXPECT_EQ(0, send(58, uint8_t{9}));
    lowerResult = -7;
    EXPECT_EQ(-7, send(59, uint8_t{9}));
    EXPECT_LINES(received, R"(
BCM:47/4r 02 00 00 00
L2:47/4r 02 00 00 00
BCM:58/1r 09
L2:58/1r 09
BCM:59/1r 09
)");
    EXPECT_LINES(platform::everything(), R"(
log 64 (switch=PSE) handler not defined for command (56)\n
log 64 (switch=PSE) Processing QoS Configuration request (47)\n
log 64 (switch=PSE) Configuring QoS [Status:2] \n
log 64 (switch=PSE) Sending command=(56) to lower switches\n
log 64 (switch=PSE) Lower switches processed command=(56). Result=Failed\n
log 64 (switch=PSE) Processing QoS Configuration request (47)\n
log 64 (switch=PSE) Configuring QoS [Status:2] \n
log 64 (switch=PSE) Sending command=(47) to lower switches\n
log 64 (switch=PSE) Lower switches processed command=(47). Result=Success\n
log 64 (switch=PSE) Sending command=(58) to lower switches\n
log 64 (switch=PSE) Lower switches processed command=(58). Result=Failed\n
log 64 (switch=PSE) Sending command=(59) to lower switches\n
log 8 (switch=PSE) Failed to process cmd (59) in lower switch BCM\n
)");
}

TEST_F(Engine, aRateLimitIsTranslatedForEveryMappedPort)
{
    forwardTo(2);
    SwitchPort another{};
    another.portNumber = 6;
    map(ports[1], another, nodes[4]);
    salListInit(&ports[0].mappedList);
    const SwCmdRateLimit limit{1, 1, {7, 7, 7}, 64};
    EXPECT_EQ(0, send(50, limit));
    platform::everything();
    EXPECT_EQ(-1, send(50, SwCmdRateLimit{0, 0, {}, 1})); // mapped onto nothing
    EXPECT_EQ(-1, send(50, SwCmdRateLimit{2, 0, {}, 1}));
    lowerResult = -9;
    EXPECT_EQ(-9, send(50, limit));
    EXPECT_LINES(received, R"(
BCM:50/12r 05 00 00 00 01 00 00 00 40 00 00 00
BCM:50/12r 06 00 00 00 01 00 00 00 40 00 00 00
L2:50/12r 05 00 00 00 01 00 00 00 40 00 00 00
L2:50/12r 06 00 00 00 01 00 00 00 40 00 00 00
BCM:50/12r 05 00 00 00 01 00 00 00 40 00 00 00
)");
    EXPECT_LINES(platform::hardware(), R"(
cmd rate_limit_func set 0 0 0
cmd rate_limit_func set 1 1 0
)");
}

TEST_F(Engine, membersComeFromTheMappedPortsAndBringTheCpuPort)
{
    const struct {
        uint32_t fwdMap;
        const char *name, *table, *arl;
    } cases[] = {
        {0x01, "eth0", "0 0x5 0x5 100 00:11:22:33:44:50", "add 00:11:22:33:44:50 100 0x4 0x1"},
        {0x10, "eth0", "0 0x6 0x6 100 00:11:22:33:44:50", "add 00:11:22:33:44:50 100 0x4 0x1"},
        {0x80000010, "eth1", "1 0xe 0xe 100 00:11:22:33:44:55",
         "add 00:11:22:33:44:55 100 0x4 0x1"},
        {0x100, "eth0", "0 0x4 0x4 100 00:11:22:33:44:50", "add 00:11:22:33:44:50 100 0x4 0x1"},
        {0x7ffffeee, "eth1", "0 0x0 0x0 100 ", "del  100"},
    };
    for (const auto &c : cases) {
        SwitchVlan vlan{};
        vlan.vlanId = 100;
        vlan.vlanIndex = 4;
        vlan.fwdMap = c.fwdMap;
        strcpy(vlan.interfaceName, c.name);
        EXPECT_EQ(0, pseVlanMembershipSet(&sw, &vlan));
        const std::string lines = platform::hardware();
        EXPECT_EQ(std::string("cmd vlan_table_func edit 4 ") + c.table + " 1\ncmd arl_table_func " +
                      c.arl + "\n",
                  lines.substr(lines.find("cmd ")));
    }
}

TEST_F(Engine, eachStepOfTheMembershipCanFail)
{
    const std::string noMac = "8 (switch=PSE) (vlan:8) Failed to get the MAC address of eth0\\n\n";
    const struct {
        const char *failing;
        uint32_t fwdMap;
        int answer, result;
        std::string message;
    } cases[] = {
        {"socket", 1, -1, -1, noMac},
        {"HWADDR", 1, -19, -1, noMac},
        {"vlan_table", 1, -5, -5, "8 Failed to configure PSE membership for VLAN.\\n\n"},
        {"vlan_table", 1, 5, 0, ""},
        {"arl_table", 1, -6, -6, "8 Failed to add CPU ARL Entry for VLAN.\\n\n"},
        {"arl_table", 0, -6, -6, "8 Failed to delete CPU ARL Entry for VLAN.\\n\n"},
        {"arl_table", 0, 6, 0, ""},
    };
    for (const auto &c : cases) {
        platform::answerAsUsual();
        platform::answer(c.failing, c.answer);
        SwitchVlan vlan{};
        vlan.vlanId = 8;
        vlan.fwdMap = c.fwdMap;
        vlan.ownerSwitch = &sw;
        strcpy(vlan.interfaceName, "eth0");
        EXPECT_EQ(c.result, pseVlanMembershipSet(&sw, &vlan)) << c.failing;
        std::string log = platform::log(); // ends with the message, if there is one
        for (size_t at; (at = log.find("8 cmd (")) != std::string::npos;)
            log.erase(at, log.find('\n', at) - at + 1);
        EXPECT_EQ(c.message, log) << c.failing;
    }
}

TEST(HardwareAddress, isAskedForWithAtMost15Characters)
{
    char text[32] = "untouched";
    EXPECT_EQ(-1, switchMacAddressByIfNameGet("an-interface-name-of-24c", text));
    EXPECT_EQ("socket 2 2 0\nioctl HWADDR an-interface-na\nclose 9\n", platform::everything());
}

TEST_F(Engine, ratesGoIntoBandsOfUnits)
{
    const struct {
        uint8_t limitCmd;
        int32_t rate;
        int result;
        const char *arguments;
    } cases[] = {
        {1, 64, 0, "1 0"},       {1, 8128, 0, "127 0"},  {1, 8129, 0, "7 1"},
        {1, 130048, 0, "127 1"}, {1, 130049, 0, "12 2"}, {1, 1300480, 0, "127 2"},
        {1, 0, 0, "0 1"},        {1, 63, 0, "0 1"},      {1, -2048, 0, "-2 1"},
        {0, 9999999, 0, "0 0"},  {1, 1300481, -1, ""},   {2, 64, -1, ""},
    };
    for (const auto &c : cases) {
        const SwCmdRateLimit limit{3, c.limitCmd, {}, c.rate};
        EXPECT_EQ(c.result, pseRateLimitConfigure(&sw, &limit)) << c.rate;
        const std::string line = std::string("cmd rate_limit_func set 3 ") + c.arguments + "\n";
        EXPECT_EQ(*c.arguments == '\0' ? "" : line, platform::hardware());
    }
    platform::answer("rate_limit", 3);
    for (const auto &[cmd, rate, result] :
         {std::tuple{uint8_t{0}, 0, 3}, {uint8_t{7}, 0, -1}, {uint8_t{1}, INT32_MAX, -1}}) {
        const SwCmdRateLimit limit{3, cmd, {}, rate};
        EXPECT_EQ(result, pseRateLimitConfigure(&sw, &limit));
    }
    EXPECT_LINES(platform::log(), R"(
8 cmd (rate_limit_func set 3 0 0) returned (3).\n
8 (switch=PSE) rate limit configuration failed \n
8 (switch=PSE) Invalid cmd (7) to configure rate limiting\n
8 (switch=PSE) Switch can't configure this rate (2147483647kbps) \n
)");
}

TEST_F(Engine, queuesAreCountedModesCodedAndWeightsExponents)
{
    platform::answer("cmd tc_func set 0", 1, 2);
    platform::answer("queue_weight_func set 40", -4);
    const struct {
        SwCmdQueueSched sched;
        int result;
    } cases[] = {{{1, 4, 1, 1, 2, 4, 8}, 0},  {{3, 1, 0, 3, 16, 0, -5}, 0},
                 {{77, 2, 3, 1, 1, 1, 1}, 0}, {{-1, 2, 3, 1, 1, 1, 31}, -4},
                 {{-1, 1, 3, 1, 1, 1, 1}, 1}, {{1, 3, 1, 1, 1, 1, 1}, -1},
                 {{1, 4, 2, 1, 1, 1, 1}, -1}};
    for (const auto &c : cases)
        EXPECT_EQ(c.result, pseQueueSchedConfigure(&sw, &c.sched));
    EXPECT_LINES(platform::log(), R"(
8 cmd (tc_func set 2) returned (0).\n
8 cmd (queue_weight_func set 1 0 0 1 2 3) returned (0).\n
64 (switch=PSE) Switch ports Queue scheduling configuring Success. \n
8 cmd (tc_func set 0) returned (0).\n
8 cmd (queue_weight_func set 3 1 1 4 0 0) returned (0).\n
64 (switch=PSE) Switch ports Queue scheduling configuring Success. \n
8 cmd (tc_func set 1) returned (0).\n
64 (switch=PSE) Switch ports Queue scheduling configuring Success. \n
8 cmd (tc_func set 1) returned (0).\n
8 cmd (queue_weight_func set 0 2 0 0 0 4) returned (0).\n
8 cmd (queue_weight_func set 1 2 0 0 0 4) returned (0).\n
8 cmd (queue_weight_func set 3 2 0 0 0 4) returned (0).\n
8 cmd (queue_weight_func set 40 2 0 0 0 4) returned (-4).\n
8 (switch=PSE) (port:40) Port Queues weight configuration failed \n
8 cmd (tc_func set 0) returned (1).\n
8 (switch=PSE) Failed to set number of queues in switch\n
8 (switch=PSE) Invalid number of queues  (3)\n
8 (switch=PSE) Invalid schedule mode  (2)\n
)");
}

TEST_F(Engine, trustModesAreOneFlagOfFive)
{
    const char *flags[] = {"1 0 0 0 0", "0 0 0 1 0", "0 0 1 0 0", "0 0 0 0 1", "0 1 0 0 0"};
    for (int32_t value = 0; value < 5; ++value) {
        const SwCmdTrustMode mode{77, value}; // the port is not looked up
        EXPECT_EQ(0, pseTrustModeConfigure(&sw, &mode));
        EXPECT_EQ(std::string("cmd pri_ctl_func set 77 ") + flags[value] + "\n",
                  platform::hardware());
    }
    for (const int32_t wrong : {-1, 5}) {
        const SwCmdTrustMode mode{1, wrong};
        EXPECT_EQ(-1, pseTrustModeConfigure(&sw, &mode));
    }
    EXPECT_LINES(platform::everything(), R"(
log 64 (switch=PSE) Configuring TrustMode\n
log 8 (switch=PSE) Invalid TrustMode value (-1) 
log 64 (switch=PSE) Configuring TrustMode\n
log 8 (switch=PSE) Invalid TrustMode value (5) 
)");
}

TEST_F(Engine, qosIsOnOffOrRefused)
{
    platform::answer("disable", 9);
    for (const auto &[value, result] : {std::pair{1, 0}, {0, 9}, {2, -1}, {-1, -1}}) {
        const int32_t enable = value;
        EXPECT_EQ(result, pseQoSConfigure(&sw, &enable));
    }
    EXPECT_LINES(platform::everything(), R"(
log 64 (switch=PSE) Configuring QoS [Status:1] \n
cmd sppe_ioctl rl enable
log 8 cmd (sppe_ioctl rl enable) returned (0).\n
log 64 (switch=PSE) QoS configuration (Success) \n
log 64 (switch=PSE) Configuring QoS [Status:0] \n
cmd sppe_ioctl rl disable
log 8 cmd (sppe_ioctl rl disable) returned (9).\n
log 64 (switch=PSE) QoS configuration (Failed) \n
log 64 (switch=PSE) Configuring QoS [Status:2] \n
log 64 (switch=PSE) Configuring QoS [Status:-1] \n
)");
}

std::string pipeline(const std::string &reg, bool set)
{
    return "system /corefs/bin/memrw " + reg +
           " w |grep Value | cut -d':' -f 2 |     awk '{rl = $1; " +
           (set ? "val = lshift(1,31); reg = "
                : "val1 = lshift(1,31); val = val1^0xFFFFFFFF ; reg = ") +
           reg + " ;     res = " + (set ? "or" : "and") +
           " (rl, val) ; fh = rshift (res, 16);     sh = and (res, 0xFFFF); final_value = sprintf "
           "(\"%#x%x\", fh, sh);     cmd = \"/corefs/bin/memrw \"reg\" w \"final_value;  system "
           "(cmd);}'\n";
}

TEST_F(Engine, pauseFramesAreABitOfThreeRegisters)
{
    for (const int32_t value : {1, 2, 0}) {
        EXPECT_EQ(0, psePauseFrameConfigure(&sw, &value));
        const bool set = value == 1;
        EXPECT_EQ(pipeline("0x7000000c", set) + pipeline("0x70000010", set) +
                      pipeline("0x70000018", set) +
                      "log 64 (switch=PSE) Pause Frame configuration Success \\n\n",
                  platform::everything());
    }
    const int32_t on = 1;
    platform::answer("memrw 0x70000018", 512); // the last one's counts
    EXPECT_EQ(512, psePauseFrameConfigure(&sw, &on));
    platform::answer("memrw 0x70000010", -1);
    EXPECT_EQ(-1, psePauseFrameConfigure(&sw, &on));
    EXPECT_LINES(platform::log(), R"(
64 (switch=PSE) Pause Frame configuration Failed \n
8 (switch=PSE) Pause Frame configuration failed \n
)");
}

} // namespace
