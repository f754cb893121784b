// Routing of requests and interface events.
#include "support/fixture.h"

#include "service/dispatch.h"

namespace {

struct Dispatch : testing::Test {
    Fixture gateway;
};

TEST_F(Dispatch, aMessageWithoutHeaderFailsAndAReplyIsLoggedAndAnswered)
{
    gateway.start();
    EXPECT_EQ(-1, swMgrIoctlHandler(nullptr, nullptr, 4, nullptr, 0, nullptr, nullptr));
    RelayMsgHdr reply{1, 20, 3, 4, 0};
    for (const int type : {4, 36, 1000})
        EXPECT_EQ(0, swMgrIoctlHandler(nullptr, &reply, type, nullptr, 0, nullptr, nullptr));
    EXPECT_LINES(platform::everything(), R"(
log 8 unexpected reply from 20 cmd=4 !\n
log 8 unexpected reply from 20 cmd=36 !\n
log 8 unexpected reply from 20 cmd=1000 !\n
)");
}

TEST_F(Dispatch, eventsOfAnotherLengthAreRefused)
{
    gateway.startFull();
    RelayMsgHdr header{0, 1, 0, 0, 9};
    for (const auto &[type, length, message] :
         {std::tuple{4, 80, "log 8 Invalid database event\\n\n"},
          {5, 1132, "log 8 swMgrIoctlHandler: short ifDev event request!\\n\n"}}) {
        EXPECT_EQ(-1, swMgrIoctlHandler(nullptr, &header, type, nullptr, length, nullptr, nullptr));
        for (const int wrong : {0, length - 1, length + 1}) {
            platform::everything();
            EXPECT_EQ(-1, request(type, std::string(static_cast<size_t>(wrong), '\0')));
            EXPECT_EQ(message, platform::everything());
        }
    }
}

TEST_F(Dispatch, aSwitchCommandReachesTheNamedSwitchAndPositiveResultsBecomeZero)
{
    gateway.startFull();
    platform::answer("ioctl VLAN_DISABLE", 3);
    EXPECT_EQ(0, switchRequest("BCM", SW_CMD_VLAN_ENABLE, bytesOf(int32_t{0})));
    EXPECT_EQ(-1, switchRequest("bcm", SW_CMD_VLAN_ENABLE, ""));
    EXPECT_EQ(-1, switchRequest("", 9999, ""));
    EXPECT_EQ(-1, switchRequest("BCM", SW_CMD_VLAN_ENABLE, bytesOf(int32_t{2})));
    // Those that carry objects of the model want another length than a request's.
    for (const auto &[name, command] :
         {std::pair{"BCM", 34}, {"BCM", 35}, {"BCM", 41}, {"PSE", 35}, {"PSE", 51}})
        EXPECT_EQ(-22, switchRequest(name, command, ""));
    EXPECT_LINES(platform::everything(), R"(
log 64 (switch=BCM) Processing vlan enable update request (33)\n
log 64 VLAN Enable status 0\n
ioctl VLAN_DISABLE 0
log 64 (switch=BCM) Processing vlan enable update request (33)\n
log 64 VLAN Enable status 2\n
log 8 Failed to process cmd 33 on BCM \n
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
    const struct {
        uint32_t code, total, percentage;
        const char *line;
    } cases[] = {
        {25, 1000, 33, "cmd rate_limit_func set 1 5 0\n"},          // 330, rounded down
        {26, 10, 33, "cmd rate_limit_func set 1 0 1\n"},            // 3
        {22, 0, 100, "cmd rate_limit_func set 1 0 0\n"},            // the limit goes
        {22, 0x02000000u, 129, "cmd rate_limit_func set 1 32 2\n"}, // wraps: 335544
    };
    for (const auto &c : cases) {
        EXPECT_EQ(0, interfaceEvent(c.code, c.total, c.percentage));
        EXPECT_EQ(c.line, platform::hardware());
    }
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

TEST_F(Dispatch, anInterfaceEventThatCannotBeServedSaysWhy)
{
    gateway.start();
    EXPECT_EQ(-1, interfaceEvent(22, 100, 100));
    EXPECT_EQ(-95, interfaceEvent(23, 1, 1));
    SwMgrIfDevEvent event{};
    memset(event.interfaceName, 'n', sizeof(event.interfaceName)); // unterminated
    event.eventCode = 25;
    EXPECT_EQ(-1, request(5, bytesOf(event)));
    EXPECT_LINES(platform::everything(), (R"(
log 64 Received interface event=22 on eth1\n
log 8 No Switch is yet initialized\n
log 8 failed to handle interface events\n
log 64 Received interface event=23 on eth1\n
log 8 failed to handle interface events\n
log 64 Received interface event=25 on )" + std::string(132, 'n') +
                                          R"(\n
log 8 No bandwidth information provided in event\n
log 8 failed to handle interface events\n
)")
                                             .c_str());
}

TEST_F(Dispatch, aRefusedUpstreamLimitIsReportedWithTheBackendsResult)
{
    gateway.addSwitches();
    gateway.sql("insert into swPortConfig(switchName, portNumber, phyDevice)"
                " values('BCM', 2, ''), ('PSE', 2, 'BCM:2')");
    gateway.start();
    EXPECT_EQ(-1, interfaceEvent(22, 100, 100)); // the engine has no port 1
    EXPECT_LINES(platform::log(), R"(
64 Received interface event=22 on eth1\n
64 Configure upstream bandwdith limit of eth1 to 100 kbps (100% of total bandwidth(100))\n
64 (switch=PSE) Processing  switch port rate limiting request (50)\n
8 (switch=PSE) Failed to find port (1). \n
64 (switch=PSE) Sending command=(50) to lower switches\n
8 (switch=PSE) Failed to find port (1).\n
8 Failed to configure rate limiting based on interface bandwidth change \n
8 failed to handle interface events\n
)");
}

} // namespace
