// Switch list, levels, backend table, switch configuration.
#include "support/fixture.h"

#include "backends/backends.h"
#include "config/switch_config.h"
#include "switch/registry.h"

namespace {

SwitchGlobalCfg cfgOf(const char *name, int level = 0)
{
    SwitchGlobalCfg cfg{};
    strcpy(cfg.switchName, name);
    strcpy(cfg.switchDevice, "/dev/bcm");
    cfg.switchLevel = level;
    cfg.numPorts = 5;
    return cfg;
}

Switch *listed(const char *name, int level)
{
    const SwitchGlobalCfg cfg = cfgOf(name, level);
    Switch *sw = switchCreate(&cfg);
    salListNodeAppend(&switchTbl, &sw->link);
    return sw;
}

TEST(Registry, theFirstSwitchAtTheHighestLevelEverSeenIsOnTop)
{
    switchLibInit();
    EXPECT_EQ(nullptr, switchAtTopLevelGet());
    listed("negative", -1);
    EXPECT_EQ(nullptr, switchAtTopLevelGet());
    Switch *zero = listed("zero", 0);
    EXPECT_EQ(zero, switchAtTopLevelGet());
    listed("one", 1);
    Switch *two = listed("two", 2);
    listed("two again", 2);
    EXPECT_EQ(two, switchAtTopLevelGet());
    const SwitchGlobalCfg unlisted = cfgOf("three", 3);
    Switch *three = switchCreate(&unlisted);
    EXPECT_EQ(nullptr, switchAtTopLevelGet());
    free(three);
    switchLibInit(); // keeps the level
    listed("low", 2);
    EXPECT_EQ(nullptr, switchAtTopLevelGet());
}

TEST(Registry, theNameSelectsTheBackend)
{
    Switch sw{};
    for (const char *name : {"", "bcm", "BCM2", "PSE "}) {
        strcpy(sw.switchName, name);
        EXPECT_EQ(-1, switchConfigFuncRegister(&sw)) << name;
        EXPECT_EQ(0, switchConfigFuncUnRegister(&sw)) << name;
    }
    for (const char *name : {"BCM", "PSE"}) {
        strcpy(sw.switchName, name);
        EXPECT_EQ(0, switchConfigFuncRegister(&sw));
        EXPECT_EQ(*name == 'P', sw.confTransferFunc != nullptr);
        EXPECT_EQ(0, switchConfigFuncUnRegister(&sw));
        EXPECT_EQ(nullptr, sw.configFunc);
        EXPECT_EQ(nullptr, sw.confTransferFunc);
    }
    EXPECT_EQ("open  2 0\nclose 7\n", platform::everything());
}

struct Switches : testing::Test {
    Switches() { switchLibInit(); }
};

TEST_F(Switches, anAddedSwitchGetsItsFiveSettingsAndIsListed)
{
    SwitchGlobalCfg cfg = cfgOf("BCM", 1);
    cfg.vlanEnable = 1;
    EXPECT_EQ(0, switchConfAdd(&cfg));
    EXPECT_EQ(1u, switchByNameGet("BCM")->switchIndex);
    EXPECT_LINES(platform::everything(), R"(
log 64 Creating BCM Switch \n
open /dev/bcm 2 0
log 64 (switch=BCM) Processing vlan enable update request (33)\n
log 64 VLAN Enable status 1\n
ioctl VLAN_ENABLE 0
log 8 (switch=BCM) Invalid command (47)\n
log 8 (switch=BCM) (47) processing returned 0 \n
log 8 (switch=BCM) Invalid command (49)\n
log 8 (switch=BCM) (49) processing returned 0 \n
log 8 (switch=BCM) Invalid command (56)\n
log 8 (switch=BCM) (56) processing returned 0 \n
log 8 (switch=BCM) Invalid command (57)\n
log 8 (switch=BCM) (57) processing returned 0 \n
log 64 (switch=BCM) Added switch configuration.\n
)");
    cfg = cfgOf("PSE", 2);
    EXPECT_EQ(0, switchConfAdd(&cfg));
    const Switch *engine = switchByNameGet("PSE");
    EXPECT_EQ((std::pair{2u, 5}), (std::pair{engine->switchIndex, engine->numPorts}));
    EXPECT_EQ(1, engine->lowerLvlCfgEnable);
}

using Sent = std::tuple<int, uint32_t, std::string>; // command, length, payload
std::vector<Sent> sent;
int refusedCommand = 0;

int recordingBackend(Switch *, int cmd, const void *payload, uint32_t length, void *replyBuf,
                     uint32_t *replyLen)
{
    EXPECT_EQ(nullptr, replyBuf);
    EXPECT_EQ(0u, *replyLen);
    sent.push_back({cmd, length, std::string(static_cast<const char *>(payload), length)});
    return cmd == refusedCommand ? -7 : 2;
}

TEST_F(Switches, settingsTravelInTheirOrderWithTheirLengths)
{
    Switch sw{};
    strcpy(sw.switchName, "PSE");
    sw.configFunc = recordingBackend;
    sw.vlanEnable = 0x01020304;
    sw.qosEnable = -2;
    sw.pauseFrameEnable = 3;
    sw.igmpSnoopingEnable = 257;
    sw.mldSnoopingEnable = 0x1fe;
    EXPECT_EQ(0, switchInitialCfgApply(&sw));
    const std::vector<Sent> expected = {
        {33, 1300, std::string("\x04\x03\x02\x01", 4) + std::string(1296, '\0')},
        {47, 4, "\xfe\xff\xff\xff"},
        {49, 4, std::string("\x03\0\0\0", 4)},
        {56, 1, "\x01"},
        {57, 1, "\xfe"},
    };
    EXPECT_EQ(expected, sent);
    const struct {
        int cmd;
        size_t sent;
        const char *message;
    } refusals[] = {
        {33, 1, "8 Failed to enable VLAN in PSE \\n\n"},
        {47, 2, "8 Failed to enable QoS in PSE \\n\n"},
        {49, 3, "8 Failed to enable pause frames in PSE \\n\n"},
        {56, 4, "8 Failed to configure igmp snooping in PSE \\n\n"},
        {57, 5, "8 Failed to configure mld snooping in PSE \\n\n"},
    };
    for (const auto &c : refusals) {
        sent.clear();
        refusedCommand = c.cmd;
        EXPECT_EQ(-1, switchCfgApply(&sw));
        EXPECT_EQ(c.sent, sent.size());
        EXPECT_EQ(std::string(c.message) + "8 Failed apply configuration of PSE \\n\n",
                  platform::log());
    }
}

TEST_F(Switches, aSwitchThatCannotBeSetUpIsNotListed)
{
    platform::answer("open /dev/bcm", -2);
    const SwitchGlobalCfg chip = cfgOf("BCM", 1);
    EXPECT_EQ(-22, switchConfAdd(&chip));
    platform::answerAsUsual();
    platform::answer("ioctl VLAN_DISABLE", -5);
    EXPECT_EQ(-1, switchConfAdd(&chip));
    EXPECT_EQ(nullptr, salListFirst(&switchTbl));
    EXPECT_LINES(platform::everything(), R"(
log 64 Creating BCM Switch \n
open /dev/bcm 2 0
log 8 (switch=BCM) Failed to open the device /dev/bcm \n
log 8 Failed to register BCM switch \n
log 64 Creating BCM Switch \n
open /dev/bcm 2 0
log 64 (switch=BCM) Processing vlan enable update request (33)\n
log 64 VLAN Enable status 0\n
ioctl VLAN_DISABLE 0
log 8 Failed to enable VLAN in BCM \n
log 8 Failed to apply the configuration \n
)");
}

TEST_F(Switches, aDetachedSwitchAnswersEveryCommandWithAnError)
{
    EXPECT_EQ(-22, switchDeinit("PSE"));
    EXPECT_EQ("8 Failed to find switch profile for PSE \\n\n", platform::log());
    Fixture gateway;
    gateway.startFull();
    EXPECT_EQ(0, switchDeinit("BCM"));
    EXPECT_NE(nullptr, switchByNameGet("BCM"));
    EXPECT_EQ("close 7\n", platform::everything());
    EXPECT_EQ(-1, switchRequest("BCM", SW_CMD_VLAN_ENABLE, ""));
    EXPECT_EQ(-1, switchRequest("PSE", SW_CMD_IGMP_SNOOP, "")); // forwarded to the chip
    EXPECT_EQ(0, vlanRequest(SW_CMD_VLAN_ADD, 10, "eth0", 6, 2));
    EXPECT_EQ("BCM has no backend", brokenInvariant());
}

} // namespace
