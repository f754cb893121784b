// Start, run and stop.
#include "support/fixture.h"

#include "base/state.h"
#include "service/reload.h"
#include "store/database.h"

namespace {

struct Lifecycle : testing::Test {
    Fixture gateway;
};

TEST_F(Lifecycle, anEmptyDatabaseStartsAServiceThatAnswers)
{
    EXPECT_EQ(0, swMgrInit(Fixture::path));
    EXPECT_EQ(1, swMgrInitialized);
    EXPECT_LINES(platform::everything(), R"(
relayInit
relayRegister 103 2
query SELECT * from swGlobalCfg
query SELECT * from swPortConfig
query SELECT * from vlanEncapIf
log 8 Failed to find switch configuration to load. \n
log 8 Failed to apply switch configuration \n
)");
    EXPECT_EQ(-1, switchRequest("PSE", SW_CMD_QOS_ENABLE, ""));
    EXPECT_EQ(-22, vlanRequest(SW_CMD_VLAN_ADD, 10, "eth0", 6, 2));
    EXPECT_EQ("", platform::everything());
}

TEST_F(Lifecycle, theLoopListensUntilTheHostClearsTheFlagAndTheStopCompletes)
{
    swMgrRun();
    EXPECT_EQ("", platform::everything());
    gateway.start();
    platform::answer("relayListen", -4);
    platform::onListen([] { EXPECT_EQ(-1, switchRequest("x", 47, "")); });
    platform::onListen([] { EXPECT_EQ(0, dbEvent("vlanEncapIf", 18, 1) + 1); });
    swMgrRun();
    EXPECT_EQ(0, swMgrInitialized);
    EXPECT_EQ(0, swMgrDeinit());
    EXPECT_EQ(nullptr, pSwMgrRelayCtx);
    EXPECT_EQ(nullptr, pDB);
    EXPECT_EQ(0, swMgrDeinit());
    EXPECT_LINES(platform::hardware(), R"(
relayListen 1000000
relayListen 1000000
query SELECT * from vlanEncapIf WHERE rowid=1
relayListen 1000000
relayUnRegister
relayDeInit
)");
}

TEST(Start, thatFailsLeavesNothingBehind)
{
    EXPECT_EQ(-1, swMgrInit("/no/such/directory/sw.db"));
    platform::answer("relayRegister", -1);
    platform::answer("relayInit", -1);
    EXPECT_EQ(-1, swMgrInit(Fixture::path));
    EXPECT_EQ(nullptr, pSwMgrRelayCtx);
    EXPECT_EQ(0, swMgrInitialized);
    EXPECT_EQ(0, swMgrDeinit());
    EXPECT_LINES(platform::everything(), R"(
relayInit
relayRegister 103 2
log 8 Couldn't open database /no/such/directory/sw.db \n
log 8 failed to open database connection\n
relayUnRegister
relayInit
relayRegister 103 2
)");
}

TEST_F(Lifecycle, aReloadTakesTheVlansOfTheTopLevelSwitchDownFirst)
{
    gateway.addSwitches();
    gateway.addPorts();
    gateway.sql("insert into vlanEncapIf(vlanId, interfaceName, fwdMap) values(10, 'eth0', '1')");
    gateway.start();
    gateway.sql("delete from vlanEncapIf; delete from swPortConfig; delete from swGlobalCfg");
    platform::everything();
    EXPECT_EQ(-1, swMgrCfgReload());
    EXPECT_LINES(platform::everything(), R"(
log 8 Disabling Vlan10 in PSE\n
log 64 (switch=PSE) handler not defined for command (34)\n
log 64 (switch=PSE) Processing vlan membership configure request (35)\n
cmd vlan_table_func edit 4 0 0x0 0x0 10  1
log 8 cmd (vlan_table_func edit 4 0 0x0 0x0 10  1) returned (0).\n
cmd arl_table_func del  10
log 8 cmd (arl_table_func del  10) returned (0).\n
query SELECT * from swGlobalCfg
query SELECT * from swPortConfig
query SELECT * from vlanEncapIf
log 8 Failed to find switch configuration to load. \n
log 8 Failed to apply switch configuration \n
)");
}

} // namespace
