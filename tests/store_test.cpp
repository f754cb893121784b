// The database: connection, port lists, decoding, loading.
#include "support/fixture.h"

#include "store/database.h"
#include "store/decode.h"
#include "store/port_list.h"
#include "switch/registry.h"
#include "vlan/vlan.h"

namespace {

struct Store : testing::Test {
    Fixture gateway;
};

TEST(PortList, becomesAMask)
{
    const struct {
        const char *text;
        uint32_t mask;
    } cases[] = {{"1,2,3", 0xe},
                 {"0,31", 0x80000001},
                 {"", 0},
                 {",,,", 0},
                 {"4,,4", 0x10},
                 {"1,20", 0x100002},
                 {"32,40", 0},
                 {"x", 1},
                 {"-1", 0},
                 {" 3,+4", 0x18},
                 {"5x,6 7", 0x60},
                 {"0x10", 1},
                 {"99999999999999999999,1", 2},
                 {"4294967297", 0},
                 {"-4294967295", 0}};
    for (const auto &[text, mask] : cases) {
        std::string list = text;
        EXPECT_EQ(mask, str2num(list.data())) << text;
    }
}

TEST_F(Store, theConnectionReadsOnlyAndQueriesReportTheirCounts)
{
    EXPECT_EQ(0, swMgrDBDeinit());
    gateway.addSwitches();
    ASSERT_EQ(0, swMgrDBInit(Fixture::path));
    int32_t columns = 0;
    int32_t rows = 0;
    char **table =
        swMgrTableGet("SELECT switchName, switchDevice from swGlobalCfg", &columns, &rows);
    EXPECT_EQ((std::pair{2, 2}), (std::pair{columns, rows}));
    EXPECT_STREQ("/dev/bcm", table[3]);
    sqlite3_free_table(table);
    for (const char *text : {"SELECT * from nothing", "delete from swGlobalCfg",
                             "create table t(x)", "insert into vlanEncapIf(vlanId) values(1)"})
        EXPECT_EQ(nullptr, swMgrTableGet(text, &columns, &rows)) << text;
    EXPECT_EQ(0, swMgrDBDeinit());
}

// A result table of one row: names and values in turn; "-" stands for NULL.
struct Row {
    explicit Row(std::vector<std::string> cells)
        : texts(std::move(cells)), columns(static_cast<int>(texts.size() / 2))
    {
        for (const size_t first : {0u, 1u})
            for (size_t i = first; i < texts.size(); i += 2)
                table.push_back(texts[i] == "-" ? nullptr : texts[i].data());
    }
    std::vector<std::string> texts;
    std::vector<char *> table;
    int columns;
};

TEST(Decoding, aVlanRowIsReadByColumnName)
{
    SwitchVlanCfg vlan{};
    vlan.fwdMap = vlan.untagMap = 99;
    Row row({"extra",    "x",   "untagMap",      "-",       "interfaceName", "eth0.5:1@a-b_C",
             "vlanid",   "5",   "inSwitchOnly",  " -7rest", "vlanId",        "100",
             "vlanId",   "200", "egressMap",     "e",       "vlanIndex",     "55",
             "vlanName", "n",   "LogicalIfName", "lan one"});
    EXPECT_EQ(0, swVlanCfgFromQueryResultRead(&vlan, row.table.data(), row.columns, 0));
    EXPECT_EQ(100, vlan.vlanId); // the first of that name, in exact case
    EXPECT_EQ(-7, vlan.inSwitchOnly);
    EXPECT_EQ(0u, vlan.fwdMap); // absent and NULL port lists count as empty
    EXPECT_EQ(0u, vlan.untagMap);
    EXPECT_STREQ("eth0.5:1@a-b_C", vlan.interfaceName);
    EXPECT_STREQ("lan one", vlan.LogicalIfName);
    EXPECT_STREQ("e", vlan.egressMap);
    EXPECT_STREQ("", vlan.vlanName);
    EXPECT_EQ(0, vlan.vlanIndex);
}

TEST(Decoding, numbersSaturateAndMissingOnesStay)
{
    SwitchGlobalCfg sw{};
    sw.qosEnable = 42;
    Row row({"switchLevel", "99999999999999", "numPorts", "-3000000000", "vlanEnable", "0x11",
             "pauseFrameEnable", "", "mldSnoopingEnable", "-", "switchDevice", "-", "switchName",
             "PSE", "igmpSnoopingEnable", "+1"});
    EXPECT_EQ(0, swGlobalCfgFromQueryResultRead(&sw, row.table.data(), row.columns, 0));
    EXPECT_EQ(INT32_MAX, sw.switchLevel);
    EXPECT_EQ(INT32_MIN, sw.numPorts);
    EXPECT_EQ(0, sw.vlanEnable);
    EXPECT_EQ(0, sw.pauseFrameEnable);
    EXPECT_EQ(42, sw.qosEnable);
    EXPECT_EQ(1, sw.igmpSnoopingEnable);
    EXPECT_STREQ("", sw.switchDevice);
    EXPECT_STREQ("PSE", sw.switchName);
}

TEST(Decoding, everyTextHasItsLimit)
{
    SwitchGlobalCfg sw{};
    SwitchPortCfg port{};
    SwitchVlanCfg vlan{};
    const struct {
        char table; // switch, port, VLAN
        const char *name;
        size_t capacity;
    } cases[] = {{'s', "switchName", 64},    {'s', "switchDevice", 128}, {'p', "switchName", 64},
                 {'p', "interfaceName", 64}, {'p', "phyDevice", 64},     {'v', "interfaceName", 64},
                 {'v', "LogicalIfName", 64}, {'v', "ingressMap", 512},   {'v', "egressMap", 512},
                 {'v', "fwdMap", 512},       {'v', "untagMap", 512}};
    for (const auto &c : cases) {
        for (const size_t length : {c.capacity - 1, c.capacity, size_t{1000000}}) {
            platform::everything();
            Row row({c.name, std::string(length, '1')});
            char **table = row.table.data();
            const int status = c.table == 's'   ? swGlobalCfgFromQueryResultRead(&sw, table, 1, 0)
                               : c.table == 'p' ? swPortCfgFromQueryResultRead(&port, table, 1, 0)
                                                : swVlanCfgFromQueryResultRead(&vlan, table, 1, 0);
            EXPECT_EQ(length < c.capacity ? 0 : -22, status) << c.name << length;
            const std::string text = platform::log();
            if (length < c.capacity)
                continue;
            EXPECT_EQ("8 ", text.substr(0, 2));
            EXPECT_HAS(text, c.name);
            EXPECT_HAS(text, std::to_string(length));
        }
    }
}

TEST_F(Store, theLoadStopsAtTheFirstRowThatFails)
{
    gateway.addSwitches();
    gateway.addPorts();
    gateway.sql("insert into vlanEncapIf(vlanId, interfaceName) values(1, 'eth0'), (2, 'eth0'),"
                " (2, 'eth0'), (4, 'eth0'), (5, 'eth0')");
    EXPECT_EQ(0, swMgrInit(Fixture::path));
    const std::string text = platform::log();
    EXPECT_HAS(text, "8 (switch=BCM) This VLAN Id is already exists \\n\n"
                     "8 (switch=BCM) Failed to create vlan (ID=2)\\n\n"
                     "8 Failed to create new switch vlan profile \\n\n"
                     "8 Failed to load the switch VLAN configuration\\n\n"
                     "8 Failed to load switch vlan configuration \\n\n");
    Switch *engine = switchByNameGet("PSE");
    for (const int id : {1, 2, 4, 5})
        EXPECT_EQ(id < 3, switchVlanByIdGet(engine, id) != nullptr) << id;
}

TEST(Load, eachTableThatCannotBeLoadedEndsTheLoad)
{
    const struct {
        std::string sql;
        const char *log;
    } cases[] = {
        {"alter table swGlobalCfg rename to away",
         "8 failed to get list of switches from the database\\n\n"
         "8 Failed to load switch configuration \\n\n"},
        {"alter table swPortConfig rename to away",
         "8 failed to get list of switch ports from the database\\n\n"
         "8 Failed to load switch port configuration \\n\n"},
        {"alter table vlanEncapIf rename to away",
         "8 failed to get list of vlans from the database\\n\n"
         "8 Failed to load switch vlan configuration \\n\n"},
        {"insert into swPortConfig(switchName) values('none')",
         "8 none switch is not yet created \\n\n8 Failed to create switch port configuration \\n\n"
         "8 Failed to create new switch port profile \\n\n8 failed to load switch profile\\n\n"
         "8 Failed to load switch port configuration \\n\n"},
        {"insert into swGlobalCfg(switchName) values('none')",
         "64 Creating none Switch \\n\n8 Failed to register none switch \\n\n"
         "8 Failed to create new switch profile \\n\n8 failed to load switch profile\\n\n"
         "8 Failed to load switch configuration \\n\n"},
    };
    for (const auto &c : cases) {
        Fixture gateway;
        gateway.sql(c.sql);
        EXPECT_EQ(0, swMgrInit(Fixture::path));
        EXPECT_EQ(c.log, platform::log()) << c.sql;
        EXPECT_EQ("", brokenInvariant());
    }
}

// What the start does to the hardware, from the sample of two switches.
TEST_F(Store, theStartAppliesTheTopLevelSwitchThroughTheHierarchy)
{
    gateway.addSwitches();
    gateway.sql("insert into swPortConfig(switchName, portNumber, PVID, trustMode, phyDevice)"
                " values('BCM', 1, 5, 0, ''), ('PSE', 1, 0, 2, 'BCM:1')");
    gateway.sql("insert into vlanEncapIf(vlanId, fwdMap, untagMap, inSwitchOnly)"
                " values(300, '1', '1', 1)");
    ASSERT_EQ(0, swMgrInit(Fixture::path));
    std::string lines = platform::hardware();
    const auto from = lines.find("cmd vconfig rem .300");
    lines.erase(from, lines.find("ioctl VLAN_ENABLE", from) - from); // its sub-interface
    for (std::string::size_type at; (at = lines.find("system ")) != std::string::npos;)
        lines.replace(at, lines.find('\n', at) - at, "pipeline");
    EXPECT_LINES(lines, R"(
relayInit
relayRegister 103 2
query SELECT * from swGlobalCfg
open /dev/bcm 2 0
ioctl VLAN_ENABLE 0
cmd sppe_ioctl rl enable
pipeline
pipeline
pipeline
query SELECT * from swPortConfig
cmd pri_ctl_func set 1 0 0 1 0 0
query SELECT * from vlanEncapIf
ioctl DEFAULT_TAG_SET 01002c010000
ioctl NON8021Q_FRAMES_SET 010000000000
ioctl VLAN_CLEAR 2c01000000
ioctl VLAN_ENTRY_SET 2c010300020000
cmd vlan_table_func edit 4 0 0x0 0x0 300  1
cmd arl_table_func del  300
ioctl VLAN_ENABLE 0
cmd sppe_ioctl rl enable
pipeline
pipeline
pipeline
cmd pri_ctl_func set 1 0 0 1 0 0
ioctl DEFAULT_TAG_SET 01002c010000
ioctl NON8021Q_FRAMES_SET 010000000000
cmd vlan_table_func edit 4 0 0x0 0x0 300  1
cmd arl_table_func del  300
ioctl VLAN_CLEAR 2c01000000
ioctl VLAN_ENTRY_SET 2c010300020000
)");
}

} // namespace
