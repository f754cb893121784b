// The chip's backend through its exported functions and its driver's requests.
#include "support/gateway.h"

#include "backends/bcm/bcm.h"
#include "backends/bcm/port_vlan.h"
#include "backends/bcm/ports.h"
#include "backends/bcm/qos.h"
#include "backends/bcm/show.h"
#include "backends/bcm/vlan.h"

namespace {

struct Chip : testing::Test {
    Chip()
    {
        strcpy(sw.switchName, "BCM");
        strcpy(sw.switchDevice, "/dev/bcm");
        salListInit(&sw.portList);
        salListInit(&sw.vlanList);
        EXPECT_EQ(0, bcmSwitchRegister(&sw));
        for (SwitchPort &port : ports) {
            port.portNumber = static_cast<int>(&port - ports);
            port.portIndex = 10u + static_cast<uint32_t>(port.portNumber);
            port.PVID = 99;
            port.ownerSwitch = &sw;
            salListNodeAppend(&sw.portList, &port.link);
        }
        platform::everything();
    }
    SwitchVlan &vlan(int index, int id, uint32_t fwdMap, uint32_t untagMap,
                     const char *name = "eth0")
    {
        SwitchVlan &one = vlans[index];
        one.vlanId = id;
        one.fwdMap = fwdMap;
        one.untagMap = untagMap;
        one.ownerSwitch = &sw;
        strcpy(one.interfaceName, name);
        salListNodeAppend(&sw.vlanList, &one.link);
        return one;
    }
    Switch sw{};
    SwitchPort ports[5]{};
    SwitchVlan vlans[3]{};
};

TEST_F(Chip, bindingChecksTheNameAndKeepsTheDescriptor)
{
    EXPECT_EQ(7, fd);
    EXPECT_EQ(0, bcmSwitchUnRegister(&sw));
    EXPECT_EQ(7, fd);
    EXPECT_EQ(nullptr, sw.configFunc);
    fd = 0;
    EXPECT_EQ(0, bcmSwitchUnRegister(&sw));
    EXPECT_EQ("close 7\n", platform::everything());
    platform::answer("open", -2);
    EXPECT_EQ(-22, bcmSwitchRegister(&sw));
    EXPECT_EQ(-2, fd);
    EXPECT_EQ(&bcmSwitchConfig, sw.configFunc);
    EXPECT_EQ(0, bcmSwitchUnRegister(&sw));
    strcpy(sw.switchName, "PSE");
    EXPECT_EQ(-22, bcmSwitchRegister(&sw));
    EXPECT_EQ(-22, bcmSwitchUnRegister(&sw));
    EXPECT_EQ(-22, bcmSwitchRegister(nullptr));
    EXPECT_EQ(-22, bcmSwitchUnRegister(nullptr));
    EXPECT_LINES(platform::everything(), R"(
open /dev/bcm 2 0
log 8 (switch=BCM) Failed to open the device /dev/bcm \n
)");
}

TEST_F(Chip, aCommandNeedsItsExactLength)
{
    const struct {
        int cmd;
        uint32_t length;
        int result;
    } cases[] = {{33, 1299, -22}, {33, 1301, -22}, {34, 1311, -22},
                 {35, 1313, -22}, {41, 139, -22},  {34, 1312, -22} /* none */,
                 {58, 5, 0},      {36, 0, 0},      {40, 0, 0}};
    for (const auto &c : cases)
        EXPECT_EQ(c.result, bcmSwitchConfig(&sw, c.cmd, nullptr, c.length, nullptr, nullptr));
    EXPECT_EQ("", platform::hardware());
    SwitchVlan &one = vlan(0, 5, 1, 0);
    EXPECT_EQ(0, bcmSwitchConfig(&sw, 35, &one, 1312, nullptr, nullptr));
    EXPECT_EQ("ioctl VLAN_CLEAR 0500000000\nioctl VLAN_ENTRY_SET 05001100000000\n",
              platform::hardware());
}

TEST_F(Chip, theCpuPortFollowsTheZone)
{
    EXPECT_EQ(4, bcmCPUPortNumberGet(&vlan(0, 1, 0, 0, "eth0")));
    EXPECT_EQ(0, bcmCPUPortNumberGet(&vlan(1, 2, 0, 0, "eth1")));
    EXPECT_EQ(0, bcmCPUPortNumberGet(&vlan(2, 3, 0, 0, "wlan0")));
}

TEST_F(Chip, anEntryIsClearedAndWrittenWithItsCpuPort)
{
    const struct {
        uint32_t fwdMap, untagMap;
        int inSwitchOnly;
        const char *name, *record;
    } cases[] = {
        {0x06, 0x02, 0, "eth0", "05001600020000"},
        {0x06, 0x02, 1, "eth0", "05000700020000"},
        {0x06, 0x02, 0, "eth1", "05000700020000"},
        {0, 0x02, 0, "eth0", "05000000020000"},
        {0x12345678, 0xabcdef01, 0, "eth0", "0500785601ef00"},
    };
    for (const auto &c : cases) {
        SwitchVlan one{};
        one.vlanId = 5;
        one.fwdMap = c.fwdMap;
        one.untagMap = c.untagMap;
        one.inSwitchOnly = c.inSwitchOnly;
        strcpy(one.interfaceName, c.name);
        EXPECT_EQ(0, bcmVlanMembershipSet(&sw, &one));
        EXPECT_EQ(std::string("ioctl VLAN_CLEAR 0500000000\nioctl VLAN_ENTRY_SET ") + c.record +
                      "\n",
                  platform::hardware());
    }
    EXPECT_EQ(0, bcmVlanMembershipConfigure(5, 1, 0, 32)); // no such bit
    EXPECT_EQ(0, bcmVlanMembershipConfigure(5, 1, 0, 31));
    EXPECT_LINES(platform::everything(), R"(
ioctl VLAN_CLEAR 0500000000
log 128 Modifying untag value to 0 and fwdMap to 1 for vlanid: 5 \n
ioctl VLAN_ENTRY_SET 05000100000000
ioctl VLAN_CLEAR 0500000000
log 128 Modifying untag value to 0 and fwdMap to -2147483647 for vlanid: 5 \n
ioctl VLAN_ENTRY_SET 05000100000000
)");
}

TEST_F(Chip, aRefusedEntryStopsTheWalkAndARefusedClearDoesNot)
{
    vlan(0, 1, 2, 0);
    vlan(1, 2, 2, 0);
    vlan(2, 3, 2, 0);
    platform::answer("VLAN_CLEAR", -6, 1);
    platform::answer("VLAN_ENTRY_SET 02", -5);
    EXPECT_EQ(-5, bcmVlanMembershipSet(&sw, nullptr));
    EXPECT_LINES(platform::everything(), R"(
ioctl VLAN_CLEAR 0100000000
log 8 ERROR#-6 clearing 802.1Q VLAN #1\n
log 128 Modifying untag value to 0 and fwdMap to 18 for vlanid: 1 \n
ioctl VLAN_ENTRY_SET 01001200000000
ioctl VLAN_CLEAR 0200000000
log 128 Modifying untag value to 0 and fwdMap to 18 for vlanid: 2 \n
ioctl VLAN_ENTRY_SET 02001200000000
log 8 ERROR#-5 adding 802.1Q VLAN entry\n
log 8 (switch=BCM) (vlan:2) Failed to configure membership for vlan2\n
)");
    EXPECT_EQ(-22, bcmVlanMembershipUpdate(&sw, nullptr));
}

TEST_F(Chip, anUntaggedPortLeavesTheUntagMapsOfOtherVlans)
{
    SwitchVlan &other = vlan(0, 10, 1, 0xff07);
    SwitchVlan &own = vlan(1, 20, 1, 1);
    SwitchVlan image{};
    image.vlanId = 20;
    image.fwdMap = 9;
    image.untagMap = 0x103;
    EXPECT_EQ(0, bcmVlanMembershipUpdate(&sw, &image));
    EXPECT_EQ(0x104u, other.untagMap); // bits above 4 survive where both have them
    EXPECT_EQ(1u, other.fwdMap);
    EXPECT_EQ(0x103u, own.untagMap);
    EXPECT_EQ(9u, own.fwdMap);
    EXPECT_EQ("", platform::everything());
}

TEST_F(Chip, portsTakeTheirPvidFromTheLastVlanThatUntagsThem)
{
    vlan(0, 10, 0, 0x02);
    vlan(1, 20, 0, 0x06);
    ports[4].portNumber = 40; // beyond what maps can say
    EXPECT_EQ(0, bcmSwitchPortConfigure(&sw, &ports[1]));
    EXPECT_EQ(20, ports[2].PVID);
    EXPECT_EQ(0, bcmSwitchPortConfigure(&sw, nullptr));
    EXPECT_LINES(platform::hardware(), R"(
ioctl DEFAULT_TAG_SET 010014000000
ioctl NON8021Q_FRAMES_SET 010000000000
ioctl DEFAULT_TAG_SET 000063000000
ioctl NON8021Q_FRAMES_SET 000001000000
ioctl DEFAULT_TAG_SET 010014000000
ioctl NON8021Q_FRAMES_SET 010000000000
ioctl DEFAULT_TAG_SET 020014000000
ioctl NON8021Q_FRAMES_SET 020000000000
ioctl DEFAULT_TAG_SET 030063000000
ioctl NON8021Q_FRAMES_SET 030001000000
ioctl DEFAULT_TAG_SET 280063000000
ioctl NON8021Q_FRAMES_SET 280001000000
)");
    EXPECT_EQ(0, ports[1].non8021qFramesStatus);
    EXPECT_EQ(1, ports[3].non8021qFramesStatus);
    platform::answer("NON8021Q_FRAMES_SET", -5);
    EXPECT_EQ(-5, bcmSwitchPortConfigure(&sw, &ports[3]));
    EXPECT_LINES(platform::everything(), R"(
ioctl DEFAULT_TAG_SET 030063000000
log 64 Configuring non8021qFramesStatus to (1) for port (3) \n
ioctl NON8021Q_FRAMES_SET 030001000000
log 8 setting non8021q configuration for #3 failed\n
log 8 (switch=BCM) (port:3) Failed to set Non-8021q Frame status for port 3\n
)");
}

TEST_F(Chip, queriesKnowYesNoAndUnknown)
{
    for (const auto &[result, expected] : {std::pair{0, 0}, {1, 1}, {2, -1}, {-5, -1}}) {
        platform::answerAsUsual();
        platform::answer("MEMBER_GET", result);
        EXPECT_EQ(expected, bcmIsPortInVlanFwdMap(3, 4000));
        EXPECT_EQ(expected, bcmIsPortInVlanUntagMap(3, 4000));
        EXPECT_LINES(platform::everything(), R"(
ioctl VLAN_FWD_MEMBER_GET a00f030000
ioctl VLAN_UNTAG_MEMBER_GET a00f030000
)");
    }
}

TEST_F(Chip, printersShowMembersAndWhatCannotBeAsked)
{
    platform::answer("FWD_MEMBER_GET 0a000100", 1);
    platform::answer("FWD_MEMBER_GET 0a000400", -5);
    platform::answer("DEFAULT_TAG_GET 02", -5);
    platform::answer("DEFAULT_TAG_GET 03", 0, 0, {3, 0, 0x2c, 1, 5, 1});
    testing::internal::CaptureStdout();
    EXPECT_EQ(-1, bcmVlanShow(nullptr, 10));
    EXPECT_EQ(0, bcmTagsShow());
    platform::answer("DEFAULT_TAG_GET 04", -5);
    EXPECT_EQ(-1, bcmTagsShow());
    const std::string tags = "802.1Q tags\n-----------\nPORT\tVID\tPRI\tCFI\n"
                             "0 \t0 \t0 \t0\n1 \t0 \t0 \t0\n2\t ?\t?\t?3 \t300 \t5 \t1\n";
    EXPECT_EQ("802.1Q VLAN\n-----------\nVlan ID 10\n\tForward map: \t1 4? \n\tUntag map: \t\n" +
                  tags + "4 \t0 \t0 \t0\n\n" + tags + "4\t ?\t?\t?\n",
              testing::internal::GetCapturedStdout());
}

TEST_F(Chip, portVlansAreEditedMemberByMember)
{
    platform::answer("MEMBER_GET 01000200", 1); // port 1 forwards to 2
    platform::answer("MEMBER_GET 04000000", 1);
    EXPECT_EQ(0, bcmDefPortVlanConfig(4));
    EXPECT_EQ(0, bcmDefPortVlanConfig(1));
    EXPECT_EQ(0, bcmPortVlanReset(1));
    EXPECT_LINES(platform::everything(), R"(
log 64 configuring default port VLAN #4: [FWD 1]\n
ioctl PORT_VLAN_MEMBER_GET 04000000
log 64 configuring default port VLAN #1: [FWD 1f]\n
ioctl PORT_VLAN_MEMBER_GET 01000000
ioctl PORT_VLAN_MEMBER_ADD 01000000
ioctl PORT_VLAN_MEMBER_GET 01000100
ioctl PORT_VLAN_MEMBER_ADD 01000100
ioctl PORT_VLAN_MEMBER_GET 01000200
ioctl PORT_VLAN_MEMBER_GET 01000300
ioctl PORT_VLAN_MEMBER_ADD 01000300
ioctl PORT_VLAN_MEMBER_GET 01000400
ioctl PORT_VLAN_MEMBER_ADD 01000400
log 64 Resetting port VLAN for #1\n
ioctl PORT_VLAN_MEMBER_GET 01000000
ioctl PORT_VLAN_MEMBER_GET 01000100
ioctl PORT_VLAN_MEMBER_GET 01000200
ioctl PORT_VLAN_MEMBER_DEL 01000200
ioctl PORT_VLAN_MEMBER_GET 01000300
ioctl PORT_VLAN_MEMBER_GET 01000400
)");
    SwitchVlan one{};
    EXPECT_EQ(0, bcmPortVlanConfig(nullptr, &one));
    EXPECT_EQ(0, bcmPortVlanDeConfig(nullptr, &one));
    one.fwdMap = 0x12;
    platform::answer("MEMBER_ADD 04000400", -5);
    EXPECT_EQ(-5, bcmPortVlanConfig(nullptr, &one));
    platform::answer("MEMBER_DEL 04000400", -5);
    EXPECT_EQ(-5, bcmPortVlanDeConfig(nullptr, &one));
    std::string lines = platform::everything();
    for (std::string::size_type at;
         (at = lines.find("ioctl PORT_VLAN_MEMBER_GET")) != std::string::npos;)
        lines.erase(at, lines.find('\n', at) - at + 1);
    EXPECT_LINES(lines, R"(
log 64 Resetting port VLAN for #1\n
ioctl PORT_VLAN_MEMBER_DEL 01000200
log 64 configuring Port VLAN #1: [PMAP:12 FWD 12]\n
ioctl PORT_VLAN_MEMBER_ADD 01000100
ioctl PORT_VLAN_MEMBER_ADD 01000400
log 64 Resetting port VLAN for #4\n
ioctl PORT_VLAN_MEMBER_DEL 04000000
log 64 configuring Port VLAN #4: [PMAP:13 FWD 12]\n
ioctl PORT_VLAN_MEMBER_ADD 04000000
ioctl PORT_VLAN_MEMBER_ADD 04000100
ioctl PORT_VLAN_MEMBER_ADD 04000400
log 8 ERROR#-5 configuring Port VLAN #4: [FWD 13]\n
log 64 De-configuring Port VLAN #1: [PMAP:12 FWD 12]\n
ioctl PORT_VLAN_MEMBER_DEL 01000100
ioctl PORT_VLAN_MEMBER_DEL 01000400
log 64 configuring default port VLAN #1: [FWD 1f]\n
ioctl PORT_VLAN_MEMBER_ADD 01000000
ioctl PORT_VLAN_MEMBER_ADD 01000100
ioctl PORT_VLAN_MEMBER_ADD 01000300
ioctl PORT_VLAN_MEMBER_ADD 01000400
log 64 De-configuring Port VLAN #4: [PMAP:13 FWD 12]\n
ioctl PORT_VLAN_MEMBER_DEL 04000000
ioctl PORT_VLAN_MEMBER_DEL 04000100
ioctl PORT_VLAN_MEMBER_DEL 04000400
log 8 ERROR#-5 de-configuring Port VLAN #4: [FWD 13]\n
)");
}

// Each function for the driver's results 0, 1 and -5.
TEST_F(Chip, settingsReportTheirOutcome)
{
    const int32_t value = 258;
    const SwCmdRateLimit limit{3, 1, {9, 9, 9}, 500};
    const SwCmdTrustMode trust{2, 1};
    const SwCmdQueueSched sched{1, 4, 3, 0x101, 2, 4, 8};
    const BcmCosQueueMapArgs cos{1, 0x105, 9, 7};
    const struct {
        std::function<int()> run;
        const char *ioctl, *first, *outcome, *failure;
    } cases[] = {
        {[&] { return bcmQoSConfigure(&sw, &value); }, "QOS_SET 02010000", "8 x",
         "QoS Enable configuration (%).\\n", "configuring QoS in switch failed (-5).\\n"},
        {[&] { return bcmPauseFrameConfigure(&sw, &value); }, "PAUSE_FRAME_SET 02010000", nullptr,
         "Pause Frame configuration (%) \\n", "configuring  pause frames failed.\\n"},
        {[&] { return bcmRateLimitConfigure(&sw, &limit); }, "RATE_LIMIT_SET 030001f4010000",
         nullptr, "Rate Limit(500 kbps) port(3) returned (%) \\n",
         "failed to configure rate limit rule on 3 \\n"},
        {[&] { return bcmTrustModeConfigure(&sw, &trust); }, "TRUST_MODE_SET 020001000000", nullptr,
         "Trust mode Configuration returning status (%) \\n",
         "failed to configure trust mode for 2 \\n"},
        {[&] { return bcmQueueSchedConfigure(&sw, &sched); }, "QUEUE_SCHED_SET 0100000301020408",
         nullptr, "Queue Schedule configuration (%) \\n",
         "configuring Scheduling on port1 failed.\\n"},
        {[&] { return bcmCosQueueMapConfigure(&sw, &cos); }, "COS_QUEUE_MAP_SET 0100050007",
         nullptr, "Trust mode Configuration (%) \\n",
         "failed to configure cos queue mapping for 1 \\n"},
    };
    for (const auto &c : cases) {
        for (const int result : {0, 1, -5}) {
            platform::answerAsUsual();
            platform::answer(c.ioctl, result);
            EXPECT_EQ(result, c.run());
            std::string message = result < 0 ? std::string("log 8 (switch=BCM) ") + c.failure
                                             : std::string("log 128 (switch=BCM) ") + c.outcome;
            if (result >= 0)
                message.replace(message.find('%'), 1, result == 0 ? "Success" : "Failed");
            const char *first =
                c.first != nullptr ? "log 64 (switch=BCM) QoS Enable status 258\\n\n" : "";
            EXPECT_EQ(std::string(first) + "ioctl " + c.ioctl + "\n" + message + "\n",
                      platform::everything());
        }
    }
    EXPECT_EQ(-1, bcmQoSConfigure(nullptr, &value));
    EXPECT_EQ(-1, bcmPauseFrameConfigure(&sw, nullptr));
    EXPECT_EQ(-1, bcmRateLimitConfigure(&sw, nullptr));
    EXPECT_EQ(-1, bcmTrustModeConfigure(nullptr, &trust));
    EXPECT_EQ(-1, bcmQueueSchedConfigure(&sw, nullptr));
    EXPECT_EQ(-1, bcmCosQueueMapConfigure(nullptr, &cos));
    EXPECT_EQ("", platform::everything());
}

TEST_F(Chip, perPortSettingsWalkThePortsAndStopAtAFailure)
{
    SwCmdQueueSched sched{-1, 4, 1, 1, 1, 1, 1};
    platform::answer("QUEUE_SCHED_SET 02", -5);
    EXPECT_EQ(-5, bcmQueueSchedConfigure(&sw, &sched));
    EXPECT_LINES(platform::everything(), R"(
ioctl QUEUE_SCHED_SET 0000000101010101
ioctl QUEUE_SCHED_SET 0100000101010101
ioctl QUEUE_SCHED_SET 0200000101010101
log 8 (switch=BCM) configuring Scheduling on port-1 failed.\n
)");
    platform::answer("COS_QUEUE_MAP_SET 01", -6);
    BcmCosQueueMapArgs cos{-1, 1, 2, 3};
    EXPECT_EQ(-6, bcmCosQueueMapConfigure(&sw, &cos));
    EXPECT_NE(
        std::string::npos,
        platform::log().find("8 (switch=BCM) failed to configure cos queue mapping for 1 \\n"));
    sched.portNumber = cos.portNumber = 9;
    EXPECT_EQ(-1, bcmQueueSchedConfigure(&sw, &sched));
    EXPECT_EQ(-1, bcmCosQueueMapConfigure(&sw, &cos));
    EXPECT_LINES(platform::everything(), R"(
log 128 (switch=BCM) Queue Schedule configuration (Failed) \n
log 128 (switch=BCM) Trust mode Configuration (Failed) \n
)");
}

TEST_F(Chip, portsAreReadAndSnoopingOnlyLogs)
{
    int32_t status = 77;
    BcmPortStatsRecord stats{};
    platform::answer("LINK_STATUS_GET 2", 1);
    platform::answer("PORT_STATS_GET 0200", 5, 0, platform::Bytes(50, 0xab));
    EXPECT_EQ(0, bcmLinkStatusGet(2, &status));
    EXPECT_EQ(1, status);
    EXPECT_EQ(0, bcmPortStatsGet(2, &stats));
    EXPECT_EQ(0xab, stats.statistics[47]);
    platform::answer("GET", -5);
    EXPECT_EQ(-1, bcmLinkStatusGet(3, &status));
    EXPECT_EQ(1, status);
    EXPECT_EQ(-1, bcmPortStatsGet(3, &stats));
    EXPECT_EQ(0, bcmIGMPSnoopSet(&sw));
    EXPECT_EQ(0, bcmMLDSnoopSet(&sw));
    EXPECT_EQ("64 Link Status is 1\\n\n8 Failed to get the port3 link status\\n\n"
              "8 Failed to get the statistics for Port3 \\n\n"
              "64 (switch=BCM) Configuring IGMP Snooping in the switch \\n\n"
              "128 (switch=BCM) Successfully configured IGMP in the switch. \\n\n"
              "64 (switch=BCM) Configuring MLD Snooping in the switch \\n\n"
              "128 (switch=BCM) Successfully configured MLD in the switch. \\n\n",
              platform::log());
}

} // namespace
