// Requests that are short, unterminated or made to do harm. Each is refused
// with a clear error, reaches neither hardware nor database, and the next
// request is served.
#include "support/fixture.h"

#include "backends/backends.h"
#include "backends/bcm/bcm.h"
#include "backends/bcm/port_vlan.h"
#include "backends/bcm/ports.h"
#include "backends/bcm/qos.h"
#include "backends/bcm/vlan.h"
#include "backends/pse/mac_address.h"
#include "backends/pse/membership.h"
#include "backends/pse/pse.h"
#include "backends/pse/settings.h"
#include "config/switch_config.h"
#include "config/vlan_config.h"
#include "switch/port.h"
#include "switch/port_mapping.h"
#include "switch/registry.h"
#include "vlan/uptime.h"
#include "vlan/vlan.h"

namespace {

struct Hostile : testing::Test {
    Hostile()
    {
        gateway.startFull();
        EXPECT_EQ(0, vlanRequest(SW_CMD_VLAN_ADD, 10, "eth0", 0x2, 0));
        gateway.sql("insert into vlanEncapIf(rowid, vlanId, interfaceName) values(3, 10, 'eth0')");
        platform::everything();
    }
    ~Hostile() override
    {
        platform::everything();
        EXPECT_EQ(0, switchRequest("PSE", SW_CMD_QOS_ENABLE, bytesOf(int32_t{1})));
        EXPECT_EQ("cmd sppe_ioctl rl enable\n", platform::hardware());
        EXPECT_EQ("", brokenInvariant());
    }

    // Refused, said so, and nothing was done.
    static void refused(int wanted, int status, const std::string &what)
    {
        EXPECT_EQ(wanted, status) << what;
        const std::string lines = platform::everything();
        EXPECT_HAS(lines, "log 8 ");
        for (const char *doing : {"cmd ", "system ", "ioctl ", "unlink ", "file "})
            EXPECT_EQ(std::string::npos, ("\n" + lines).find(std::string("\n") + doing)) << lines;
    }
    Fixture gateway;
};

TEST_F(Hostile, shortCommandsAndVlanRequestsAreRefused)
{
    const std::string body(bytesOf(SwMgrSwitchCmdRequest{{'P', 'S', 'E'}, {}}));
    for (const int type : {33, 36, 38, 47, 48, 50, 0, -1, 1000})
        for (const size_t length : {0u, 1u, 63u, 64u, 76u, 1363u})
            refused(-22, request(type, body.substr(0, length)), std::to_string(type));
    RelayMsgHdr header{0, 1, 0, 0, 1};
    for (const int type : {36, 47})
        refused(-22, platform::handler()(nullptr, &header, type, nullptr, 1364, nullptr, nullptr),
                "no data");
    std::vector<char> bytes(body.begin(), body.end());
    refused(-22, platform::handler()(nullptr, &header, 47, bytes.data(), -1, nullptr, nullptr),
            "negative length");
}

TEST_F(Hostile, unterminatedNamesAreCutAtTheirField)
{
    EXPECT_EQ(0, vlanRequest(SW_CMD_VLAN_ADD, 5, std::string(64, 'e'), 0, 0));
    EXPECT_HAS(platform::hardware(), "cmd vconfig add " + std::string(63, 'e') + " 5\n");
    EXPECT_EQ(-1, switchRequest(std::string(64, 'P'), 47, ""));
    EXPECT_EQ("", platform::everything());
}

// What else a name may not hold is tried on the simulated gateway.
TEST_F(Hostile, tableNamesHaveALimitAndASetOfCharacters)
{
    const std::string longest(63, 't');
    for (const std::string &name : {longest + 't', std::string("a b"), std::string("\xff")}) {
        EXPECT_EQ(-1, dbEvent(name, 18, 1)) << name;
        const std::string lines = platform::everything();
        EXPECT_EQ("log 8 ", lines.substr(0, 6)) << lines;
        EXPECT_LACKS(lines, "query");
        EXPECT_TRUE(lines.ends_with("status=-1\\n\n")) << lines;
    }
    EXPECT_EQ(-1, dbEvent(longest, 18, 1));
    EXPECT_HAS(platform::everything(), "query SELECT * from " + longest);
    EXPECT_EQ(-1, dbEvent("", 18, 1));
}

// Each block with the kind of change it goes with, and the message's beginning
// where the text is a fixed one.
TEST_F(Hostile, brokenOldValuesAreRefused)
{
    const std::string row =
        oldValues({"vlanId", "interfaceName", "L", "i", "e", "fwdMap", "untagMap", "inSwitchOnly"},
                  {"10", "eth0", "", "", "", "1", "1", "0"});
    const std::string inside = "log 8 old values result does not contain 2 rows.";
    const struct {
        int opCode;
        std::string block, message;
    } cases[] = {{9, oldValues({"a", "b", "c"}, {}), inside + "j=6 nCols=3 outLen=6\\n\n"},
                 {9, std::string(1, '\0'), inside + "j=1 nCols=1 outLen=1\\n\n"},
                 {9, "vlanId", ""},
                 {9, row + "x", ""},
                 {9, oldValues({"vlanId"}, {}) + "10", ""},
                 {23, "", ""},
                 {23, row.substr(0, row.size() - 1), ""},
                 {23, row.substr(0, row.size() - 2), ""},
                 {23, oldValues({"vlanId"}, {"10"}), ""},
                 {23, std::string(15, '\0'), ""},
                 {18, std::string(15, '\0'), ""},
                 {18, "x", ""},
                 {23, std::string(100000, 'x'), ""}};
    for (const auto &c : cases) {
        EXPECT_EQ(-1, dbEvent("vlanEncapIf", c.opCode, 3, c.block)) << c.opCode << c.block.size();
        const std::string lines = platform::everything();
        const std::string last =
            "log 64 DBUpdate event: Table: vlanEncapIf opCode:" + std::to_string(c.opCode) +
            " rowId:3 status=-1\\n\n";
        EXPECT_HAS(lines, c.message.empty() ? "log 8 " : c.message);
        EXPECT_TRUE(lines.ends_with(last)) << lines;
        EXPECT_LACKS(lines, "ioctl");
    }
    EXPECT_NE(nullptr, switchVlanByIdGet(switchByNameGet("PSE"), 10));
}

TEST_F(Hostile, aMissingReplyLengthCountsAsNone)
{
    RelayMsgHdr header{0, 1, 0, 0, 1};
    SwMgrDbEvent event{};
    strcpy(event.tableName, "vlanEncapIf");
    event.rowId = 3;
    event.opCode = SWMGR_DB_UPDATE;
    char block[] = "not to be read";
    EXPECT_EQ(-1, platform::handler()(nullptr, &header, 4, &event, 80, block, nullptr));
    uint32_t length = 500; // of a buffer that is not there
    EXPECT_EQ(-1, platform::handler()(nullptr, &header, 4, &event, 80, nullptr, &length));
    SwMgrIfDevEvent change{};
    change.eventCode = 22;
    platform::everything();
    for (const uint32_t shortLength : {0u, 43u}) {
        length = shortLength;
        EXPECT_EQ(-1, platform::handler()(nullptr, &header, 5, &change, 1132, block, &length));
        EXPECT_HAS(platform::log(), "8 No bandwidth information provided in event\\n\n");
    }
}

TEST(Arguments, thatAreMissingAreAnsweredWithAnError)
{
    for (const int status : {bcmPortVlanConfig(nullptr, nullptr),
                             bcmPortVlanDeConfig(nullptr, nullptr),
                             bcmSwitchPortConfigure(nullptr, nullptr),
                             bcmVlanMembershipSet(nullptr, nullptr),
                             bcmVlanMembershipUpdate(nullptr, nullptr),
                             pseVlanMembershipSet(nullptr, nullptr),
                             bcmSwitchRegister(nullptr),
                             bcmSwitchUnRegister(nullptr),
                             pseSwitchRegister(nullptr),
                             pseSwitchUnRegister(nullptr),
                             switchConfigFuncRegister(nullptr),
                             switchConfigFuncUnRegister(nullptr),
                             pseSwitchConfig(nullptr, 47, nullptr, 0, nullptr, nullptr),
                             switchPortDeinit(nullptr),
                             switchPortVlanInfoConfigure(nullptr, nullptr),
                             switchVlanCreate(nullptr, nullptr),
                             switchVlanUpdate(nullptr, nullptr),
                             switchVlanDelete(nullptr),
                             switchVlanDisable(nullptr),
                             switchVlanCfgApply(nullptr, nullptr),
                             switchVlanMembershipUpdate(nullptr)})
        EXPECT_EQ(-22, status);
    for (const int status : {bcmLinkStatusGet(0, nullptr),
                             bcmPortStatsGet(0, nullptr),
                             bcmQoSConfigure(nullptr, nullptr),
                             bcmPauseFrameConfigure(nullptr, nullptr),
                             bcmRateLimitConfigure(nullptr, nullptr),
                             bcmTrustModeConfigure(nullptr, nullptr),
                             bcmQueueSchedConfigure(nullptr, nullptr),
                             bcmCosQueueMapConfigure(nullptr, nullptr),
                             bcmIGMPSnoopSet(nullptr),
                             bcmMLDSnoopSet(nullptr),
                             pseQoSConfigure(nullptr, nullptr),
                             pseQueueSchedConfigure(nullptr, nullptr),
                             psePauseFrameConfigure(nullptr, nullptr),
                             pseRateLimitConfigure(nullptr, nullptr),
                             pseTrustModeConfigure(nullptr, nullptr),
                             switchMacAddressByIfNameGet(nullptr, nullptr),
                             switchCfgDisable(nullptr),
                             switchLowerLvlSwitchListAppend(nullptr, nullptr),
                             switchPortMappedListAppend(nullptr, nullptr),
                             switchConfig(nullptr, 47, nullptr, nullptr),
                             timeEventGet(nullptr, nullptr),
                             timeEventRecord(nullptr),
                             switchPortVlanConfigure(nullptr, 36),
                             switchVlanConfAdd(nullptr),
                             switchVlanConfUpdate(nullptr, nullptr),
                             switchVlanConfDelete(nullptr)})
        EXPECT_EQ(-1, status);
    EXPECT_EQ("", platform::everything());
}

} // namespace
