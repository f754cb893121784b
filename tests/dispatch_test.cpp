// Routing of requests and interface events.
#include "support/gateway.h"

#include "service/dispatch.h"

namespace {

struct Dispatch : testing::Test {
    Gateway gateway;
};

TEST_F(Dispatch, aMessageWithoutHeaderFailsAndAReplyIsLoggedAndAnswered)
{
    gateway.start();
    EXPECT_EQ(-1, swMgrIoctlHandler(nullptr, nullptr, 4, nullptr, 0, nullptr, nullptr));
    RelayMsgHdr reply{1, 20, 3, 4, 0};
    for (const int type : {4, 5, 36, 47, 1000})
        EXPECT_EQ(0, swMgrIoctlHandler(nullptr, &reply, type, nullptr, 0, nullptr, nullptr));
    EXPECT_LINES(platform::everything(), R"(
log 8 unexpected reply from 20 cmd=4 !\n
log 8 unexpected reply from 20 cmd=5 !\n
log 8 unexpected reply from 20 cmd=36 !\n
log 8 unexpected reply from 20 cmd=47 !\n
log 8 unexpected reply from 20 cmd=1000 !\n
)");
}

TEST_F(Dispatch, eventsOfAnotherLengthAreRefused)
{
    gateway.startFull();
    RelayMsgHdr header{0, 1, 0, 0, 9};
    EXPECT_EQ(-1, request(4, std::string(79, '\0')));
    EXPECT_EQ(-1, request(4, std::string(81, '\0')));
    EXPECT_EQ(-1, swMgrIoctlHandler(nullptr, &header, 4, nullptr, 80, nullptr, nullptr));
    EXPECT_EQ(-1, request(5, std::string(1131, '\0')));
    EXPECT_EQ(-1, request(5, std::string(1133, '\0')));
    EXPECT_EQ(-1, swMgrIoctlHandler(nullptr, &header, 5, nullptr, 1132, nullptr, nullptr));
    EXPECT_LINES(platform::everything(), R"(
log 8 Invalid database event\n
log 8 Invalid database event\n
log 8 Invalid database event\n
log 8 swMgrIoctlHandler: short ifDev event request!\n
log 8 swMgrIoctlHandler: short ifDev event request!\n
log 8 swMgrIoctlHandler: short ifDev event request!\n
)");
}

TEST_F(Dispatch, aSwitchCommandReachesTheNamedSwitchAndPositiveResultsBecomeZero)
{
    gateway.startFull();
    platform::answer("ioctl VLAN_DISABLE", 3);
    EXPECT_EQ(0, switchRequest("BCM", SW_CMD_VLAN_ENABLE, bytesOf(int32_t{0})));
    EXPECT_EQ(-1, switchRequest("bcm", SW_CMD_VLAN_ENABLE, ""));
    EXPECT_EQ(-1, switchRequest("", 9999, ""));
    EXPECT_EQ(-1, switchRequest("BCM", SW_CMD_VLAN_ENABLE, bytesOf(int32_t{2})));
    EXPECT_LINES(platform::everything(), R"(
log 64 (switch=BCM) Processing vlan enable update request (33)\n
log 64 VLAN Enable status 0\n
ioctl VLAN_DISABLE 0
log 64 (switch=BCM) Processing vlan enable update request (33)\n
log 64 VLAN Enable status 2\n
log 8 Failed to process cmd 33 on BCM \n
)");
}

// Their handlers want another length than the 1300 of a request.
TEST_F(Dispatch, commandsThatCarryModelObjectsAreRefusedFromOutside)
{
    gateway.startFull();
    for (const int command : {34, 35, 41})
        EXPECT_EQ(-22, switchRequest("BCM", command, ""));
    for (const int command : {35, 51})
        EXPECT_EQ(-22, switchRequest("PSE", command, ""));
    EXPECT_LINES(platform::everything(), R"(
log 64 (switch=BCM) Processing vlan membership update request (34)\n
log 8 (switch=BCM) (34) processing returned -22 \n
log 8 Failed to process cmd 34 on BCM \n
log 64 (switch=BCM) Processing vlan membership apply request (35)\n
log 8 (switch=BCM) (35) processing returned -22 \n
log 8 Failed to process cmd 35 on BCM \n
log 64 (switch=BCM) Processing switch port configuration set request (41)\n
log 8 (switch=BCM) (41) processing returned -22 \n
log 8 Failed to process cmd 41 on BCM \n
log 64 (switch=PSE) Processing vlan membership configure request (35)\n
log 8 Failed to process cmd 35 on PSE \n
log 64 (switch=PSE) Processing  switch port trust mode configuration request (51)\n
log 8 Failed to process cmd 51 on PSE \n
)");
}

TEST_F(Dispatch, anInterfaceEventLimitsTheUpstreamPort)
{
    gateway.startFull();
    EXPECT_EQ(0, interfaceEvent(22, 100000, 50));
    EXPECT_LINES(platform::everything(), R"(
log 64 Received interface event=22 on eth1\n
log 64 Configure upstream bandwdith limit of eth1 to 50000 kbps (50% of total bandwidth(100000))\n
log 64 (switch=PSE) Processing  switch port rate limiting request (50)\n
cmd rate_limit_func set 1 48 1
log 8 cmd (rate_limit_func set 1 48 1) returned (0).\n
log 64 (switch=PSE) Sending command=(50) to lower switches\n
log 8 (switch=BCM) Invalid command (50)\n
log 8 (switch=BCM) (50) processing returned 0 \n
log 64 (switch=PSE) Lower switches processed command=(50). Result=Success\n
)");
}

TEST_F(Dispatch, theRateIsAWrappingProductRoundedDown)
{
    gateway.startFull();
    const struct {
        uint32_t code, total, percentage;
        const char *line;
    } cases[] = {
        {25, 1000, 33, "cmd rate_limit_func set 1 5 0\n"}, // 330
        {26, 10, 33, "cmd rate_limit_func set 1 0 1\n"},   // 3
        {22, 0, 100, "cmd rate_limit_func set 1 0 0\n"},   // the limit goes
        {22, 8128, 100, "cmd rate_limit_func set 1 127 0\n"},
        {22, 0x02000000u, 129, "cmd rate_limit_func set 1 32 2\n"}, // wraps: 335544
    };
    for (const auto &c : cases) {
        EXPECT_EQ(0, interfaceEvent(c.code, c.total, c.percentage));
        EXPECT_EQ(c.line, platform::hardware());
    }
}

TEST_F(Dispatch, anInterfaceEventThatCannotBeServedSaysWhy)
{
    gateway.addSwitches();
    gateway.start();
    EXPECT_EQ(-95, interfaceEvent(23, 1, 1));
    SwMgrIfDevEvent event{};
    memset(event.interfaceName, 'n', sizeof(event.interfaceName)); // unterminated
    event.eventCode = 25;
    EXPECT_EQ(-1, request(5, bytesOf(event)));
    EXPECT_EQ(0, interfaceEvent(26, 100, 100)); // nothing below the engine answers
    const std::string name(132, 'n');
    EXPECT_EQ("64 Received interface event=23 on eth1\\n\n"
              "8 failed to handle interface events\\n\n"
              "64 Received interface event=25 on " +
                  name +
                  "\\n\n"
                  "8 No bandwidth information provided in event\\n\n"
                  "8 failed to handle interface events\\n\n"
                  "64 Received interface event=26 on eth1\\n\n"
                  "64 Configure upstream bandwdith limit of eth1 to 100 kbps (100% of total "
                  "bandwidth(100))\\n\n"
                  "64 (switch=PSE) Processing  switch port rate limiting request (50)\\n\n"
                  "8 (switch=PSE) Failed to find port (1). \\n\n"
                  "64 (switch=PSE) Sending command=(50) to lower switches\\n\n"
                  "64 (switch=PSE) Lower switches processed command=(50). Result=Failed\\n\n",
              platform::log());
}

TEST_F(Dispatch, anInterfaceEventNeedsATopLevelSwitch)
{
    gateway.start();
    EXPECT_EQ(-1, interfaceEvent(22, 100, 100));
    EXPECT_LINES(platform::everything(), R"(
log 64 Received interface event=22 on eth1\n
log 8 No Switch is yet initialized\n
log 8 failed to handle interface events\n
)");
}

TEST_F(Dispatch, aRefusedUpstreamLimitIsReportedWithTheBackendsResult)
{
    gateway.addSwitches();
    gateway.sql("insert into swPortConfig(switchName, portNumber, phyDevice)"
                " values('BCM', 2, ''), ('PSE', 2, 'BCM:2')");
    gateway.start();
    EXPECT_EQ(-1, interfaceEvent(22, 100, 100)); // the engine has no port 1
    EXPECT_LINES(platform::everything(), R"(
log 64 Received interface event=22 on eth1\n
log 64 Configure upstream bandwdith limit of eth1 to 100 kbps (100% of total bandwidth(100))\n
log 64 (switch=PSE) Processing  switch port rate limiting request (50)\n
log 8 (switch=PSE) Failed to find port (1). \n
log 64 (switch=PSE) Sending command=(50) to lower switches\n
log 8 (switch=PSE) Failed to find port (1).\n
log 8 Failed to configure rate limiting based on interface bandwidth change \n
log 8 failed to handle interface events\n
)");
}

} // namespace
