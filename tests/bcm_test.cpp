// The chip's backend through its exported functions and its driver's requests.
#include "support/fixture.h"

#include "backends/bcm/bcm.h"
#include "backends/bcm/device.h"
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
            port.PVID = 99;
            port.ownerSwitch = &sw;
            salListNodeAppend(&sw.portList, &port.link);
        }
        platform::everything();
    }
    SwitchVlan &vlan(int id, uint32_t fwdMap, uint32_t untagMap, const char *name = "eth0")
    {
        SwitchVlan &one = vlans[id % 10];
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
    SwitchVlan vlans[10]{};
};

TEST_F(Chip, bindingKeepsTheDescriptor)
{
    EXPECT_EQ(7, fd);
    EXPECT_EQ(0, bcmSwitchUnRegister(&sw));
    fd = 0;
    EXPECT_EQ(0, bcmSwitchUnRegister(&sw));
    EXPECT_EQ("close 7\n", platform::everything());
    platform::answer("open", -2);
    EXPECT_EQ(-22, bcmSwitchRegister(&sw));
    EXPECT_EQ(&bcmSwitchConfig, sw.configFunc);
}

TEST_F(Chip, aCommandNeedsItsExactLength)
{
    for (const auto &[cmd, length, result] : {std::tuple{33, 1299u, -22},
                                              {33, 1301u, -22},
                                              {34, 1311u, -22},
                                              {35, 1313u, -22},
                                              {41, 139u, -22},
                                              {34, 1312u, -22},
                                              {33, 1300u, -22},
                                              {58, 5u, 0},
                                              {36, 0u, 0}})
        EXPECT_EQ(result, bcmSwitchConfig(&sw, cmd, nullptr, length, nullptr, nullptr)) << cmd;
    EXPECT_EQ("", platform::hardware());
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
        {0x06, 0x02, 0, "wlan0", "05000700020000"},
        {0x00, 0x02, 0, "eth0", "05000000020000"},
        {0x12345678, 0xabcdef01, 0, "eth0", "0500785601ef00"},
    };
    for (const auto &c : cases) {
        SwitchVlan one = vlan(5, c.fwdMap, c.untagMap, c.name);
        one.inSwitchOnly = c.inSwitchOnly;
        EXPECT_EQ(0, bcmVlanMembershipSet(&sw, &one));
        EXPECT_EQ(std::string("ioctl VLAN_CLEAR 0500000000\nioctl VLAN_ENTRY_SET ") + c.record +
                      "\n",
                  platform::hardware());
    }
    EXPECT_EQ(0, bcmVlanMembershipConfigure(5, 1, 0, 32)); // no such bit
    EXPECT_HAS(platform::log(),
               "128 Modifying untag value to 0 and fwdMap to 1 for vlanid: 5 \\n\n");
}

TEST_F(Chip, aRefusedEntryStopsTheWalkAndARefusedClearDoesNot)
{
    for (const int id : {1, 2, 3})
        vlan(id, 2, 0);
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
}

TEST_F(Chip, anUntaggedPortLeavesTheUntagMapsOfOtherVlans)
{
    const SwitchVlan &other = vlan(11, 1, 0xff07);
    const SwitchVlan &own = vlan(22, 1, 1);
    SwitchVlan image{};
    image.vlanId = 22;
    image.fwdMap = 9;
    image.untagMap = 0x103;
    EXPECT_EQ(0, bcmVlanMembershipUpdate(&sw, &image));
    EXPECT_EQ(0x104u, other.untagMap); // bits above 4 survive where both have them
    EXPECT_EQ(1u, other.fwdMap);
    EXPECT_EQ(0x103u, own.untagMap);
    EXPECT_EQ(9u, own.fwdMap);
}

TEST_F(Chip, portsTakeTheirPvidFromTheLastVlanThatUntagsThem)
{
    vlan(11, 0, 0x02);
    vlan(20, 0, 0x06);
    ports[4].portNumber = 40; // beyond what maps can say
    EXPECT_EQ(0, bcmSwitchPortConfigure(&sw, nullptr));
    EXPECT_LINES(platform::hardware(), R"(
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
    EXPECT_EQ(20, ports[2].PVID);
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
        EXPECT_EQ("ioctl VLAN_FWD_MEMBER_GET a00f030000\nioctl VLAN_UNTAG_MEMBER_GET a00f030000\n",
                  platform::everything());
    }
}

TEST_F(Chip, printersShowMembersAndWhatCannotBeAsked)
{
    platform::answer("FWD_MEMBER_GET 0a000100", 1);
    platform::answer("FWD_MEMBER_GET 0a000400", -5);
    platform::answer("DEFAULT_TAG_GET 03", 0, 0, {3, 0, 0x2c, 1, 5, 1});
    platform::answer("DEFAULT_TAG_GET 04", -5);
    testing::internal::CaptureStdout();
    EXPECT_EQ(-1, bcmVlanShow(nullptr, 10));
    EXPECT_EQ(-1, bcmTagsShow());
    EXPECT_EQ("802.1Q VLAN\n-----------\nVlan ID 10\n\tForward map: \t1 4? \n\tUntag map: \t\n"
              "802.1Q tags\n-----------\nPORT\tVID\tPRI\tCFI\n"
              "0 \t0 \t0 \t0\n1 \t0 \t0 \t0\n2 \t0 \t0 \t0\n3 \t300 \t5 \t1\n4\t ?\t?\t?\n",
              testing::internal::GetCapturedStdout());
}

TEST_F(Chip, portVlansAreEditedMemberByMember)
{
    platform::answer("MEMBER_GET 01000200", 1); // port 1 forwards to 2
    platform::answer("MEMBER_GET 04000000", 1);
    SwitchVlan one{};
    one.fwdMap = 0x12;
    platform::answer("MEMBER_ADD 04000400", -5);
    EXPECT_EQ(-5, bcmPortVlanConfig(nullptr, &one));
    platform::answer("MEMBER_DEL 04000400", -5);
    EXPECT_EQ(-5, bcmPortVlanDeConfig(nullptr, &one));
    EXPECT_EQ(0, bcmDefPortVlanConfig(4));
    std::string lines = platform::everything();
    for (size_t at; (at = lines.find("ioctl PORT_VLAN_MEMBER_GET")) != std::string::npos;)
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
log 64 configuring default port VLAN #4: [FWD 1]\n
)");
}

TEST_F(Chip, aRefusedMemberEndsTheDefaultMapButNotAReset)
{
    SwitchVlan one{};
    one.fwdMap = 0x10;
    EXPECT_EQ(0, bcmPortVlanConfig(nullptr, &one));
    platform::answer("MEMBER_GET", 1);
    EXPECT_EQ(0, bcmPortVlanDeConfig(nullptr, &one));
    platform::answer("MEMBER_DEL", -5);
    platform::everything();
    EXPECT_EQ(0, bcmPortVlanReset(9));
    platform::answerAsUsual();
    platform::answer("MEMBER_ADD", -5);
    EXPECT_EQ(-5, bcmDefPortVlanConfig(3));
    EXPECT_LINES(platform::log(), R"(
64 Resetting port VLAN for #9\n
8 ERROR#-5 deleting Port 0 in forward map of port:9\n
8 ERROR#-5 deleting Port 1 in forward map of port:9\n
8 ERROR#-5 deleting Port 2 in forward map of port:9\n
8 ERROR#-5 deleting Port 3 in forward map of port:9\n
8 ERROR#-5 deleting Port 4 in forward map of port:9\n
64 configuring default port VLAN #3: [FWD 1f]\n
8 ERROR#-5 adding Port 0 in forward map of port:3\n
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
        std::string ioctl, outcome, failure;
    } cases[] = {
        {[&] { return bcmQoSConfigure(&sw, &value); }, "QOS_SET 02010000",
         "QoS Enable configuration (%).\\n", "configuring QoS in switch failed (-5).\\n"},
        {[&] { return bcmPauseFrameConfigure(&sw, &value); }, "PAUSE_FRAME_SET 02010000",
         "Pause Frame configuration (%) \\n", "configuring  pause frames failed.\\n"},
        {[&] { return bcmRateLimitConfigure(&sw, &limit); }, "RATE_LIMIT_SET 030001f4010000",
         "Rate Limit(500 kbps) port(3) returned (%) \\n",
         "failed to configure rate limit rule on 3 \\n"},
        {[&] { return bcmTrustModeConfigure(&sw, &trust); }, "TRUST_MODE_SET 020001000000",
         "Trust mode Configuration returning status (%) \\n",
         "failed to configure trust mode for 2 \\n"},
        {[&] { return bcmQueueSchedConfigure(&sw, &sched); }, "QUEUE_SCHED_SET 0100000301020408",
         "Queue Schedule configuration (%) \\n", "configuring Scheduling on port1 failed.\\n"},
        {[&] { return bcmCosQueueMapConfigure(&sw, &cos); }, "COS_QUEUE_MAP_SET 0100050007",
         "Trust mode Configuration (%) \\n", "failed to configure cos queue mapping for 1 \\n"},
    };
    for (const auto &c : cases) {
        for (const int result : {0, 1, -5}) {
            platform::answerAsUsual();
            platform::answer(c.ioctl, result);
            EXPECT_EQ(result, c.run());
            std::string message =
                result < 0 ? "8 (switch=BCM) " + c.failure : "128 (switch=BCM) " + c.outcome;
            if (result >= 0)
                message.replace(message.find('%'), 1, result == 0 ? "Success" : "Failed");
            const char *first = &c == cases ? "log 64 (switch=BCM) QoS Enable status 258\\n\n" : "";
            EXPECT_EQ(first + ("ioctl " + c.ioctl) + "\nlog " + message + "\n",
                      platform::everything());
        }
    }
}

TEST_F(Chip, perPortSettingsWalkThePortsAndStopAtAFailure)
{
    SwCmdQueueSched sched{-1, 4, 1, 1, 1, 1, 1};
    BcmCosQueueMapArgs cos{-1, 1, 2, 3};
    platform::answer("QUEUE_SCHED_SET 02", -5);
    platform::answer("COS_QUEUE_MAP_SET 01", -6);
    EXPECT_EQ(-5, bcmQueueSchedConfigure(&sw, &sched));
    EXPECT_EQ(-6, bcmCosQueueMapConfigure(&sw, &cos));
    sched.portNumber = cos.portNumber = 9;
    EXPECT_EQ(-1, bcmQueueSchedConfigure(&sw, &sched));
    EXPECT_EQ(-1, bcmCosQueueMapConfigure(&sw, &cos));
    EXPECT_LINES(platform::everything(), R"(
ioctl QUEUE_SCHED_SET 0000000101010101
ioctl QUEUE_SCHED_SET 0100000101010101
ioctl QUEUE_SCHED_SET 0200000101010101
log 8 (switch=BCM) configuring Scheduling on port-1 failed.\n
ioctl COS_QUEUE_MAP_SET 0000010003
ioctl COS_QUEUE_MAP_SET 0100010003
log 8 (switch=BCM) failed to configure cos queue mapping for 1 \n
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
    EXPECT_EQ(0, bcmPortStatsGet(2, &stats));
    EXPECT_EQ(0xab, stats.statistics[47]);
    platform::answer("GET", -5);
    EXPECT_EQ(-1, bcmLinkStatusGet(3, &status));
    EXPECT_EQ(1, status);
    EXPECT_EQ(-1, bcmPortStatsGet(3, &stats));
    EXPECT_EQ(0, bcmIGMPSnoopSet(&sw));
    EXPECT_EQ(0, bcmMLDSnoopSet(&sw));
    EXPECT_LINES(platform::log(), R"(
64 Link Status is 1\n
8 Failed to get the port3 link status\n
8 Failed to get the statistics for Port3 \n
64 (switch=BCM) Configuring IGMP Snooping in the switch \n
128 (switch=BCM) Successfully configured IGMP in the switch. \n
64 (switch=BCM) Configuring MLD Snooping in the switch \n
128 (switch=BCM) Successfully configured MLD in the switch. \n
)");
}

} // namespace
