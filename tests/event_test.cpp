// Database update events, well-formed ones. Broken ones: hostile_test.cpp.
#include "support/fixture.h"

#include "store/event.h"
#include "switch/port.h"
#include "switch/registry.h"
#include "vlan/vlan.h"

#include <cstdlib>
#include <unistd.h>

namespace {

struct Events : testing::Test {
    Fixture gateway;
};

const std::vector<std::string> vlanColumns = {"vlanId",     "interfaceName", "LogicalIfName",
                                              "ingressMap", "egressMap",     "fwdMap",
                                              "untagMap",   "inSwitchOnly"};

std::string vlanRow(const std::string &id, const std::string &interfaceName)
{
    return oldValues(vlanColumns, {id, interfaceName, "", "", "", "", "", "0"});
}

std::string framed(const std::string &event, int status)
{
    const std::string start = "64 DBUpdate event: Table: " + event;
    return start + " processing \\n\n" + start + " status=" + std::to_string(status) + "\\n\n";
}

TEST_F(Events, rowsInsertedIntoEachTableAreApplied)
{
    gateway.start();
    gateway.addSwitches();
    gateway.addPorts();
    gateway.sql("insert into vlanEncapIf(vlanId, interfaceName, fwdMap) values(50, 'eth1', '1')");
    const std::pair<const char *, int> rows[] = {{"swGlobalCfg", 1},
                                                 {"swGlobalCfg", 2},
                                                 {"swPortConfig", 2},
                                                 {"swPortConfig", 6},
                                                 {"vlanEncapIf", 1}};
    for (const auto &[table, row] : rows)
        EXPECT_EQ(0, dbEvent(table, 18, row));
    const std::string lines = platform::everything();
    EXPECT_LACKS(lines, "Failed ");
    Switch *engine = switchByNameGet("PSE");
    EXPECT_EQ(4, switchPortByNumberGet(engine, 1)->trustMode);
    EXPECT_EQ(0x2u, switchVlanByIdGet(engine, 50)->fwdMap);
    EXPECT_EQ("", brokenInvariant());
}

TEST_F(Events, anUpdateTakesTheNewRowFromTheTableAndTheOldOneFromTheBlock)
{
    gateway.startFull();
    vlanRequest(SW_CMD_VLAN_ADD, 10, "eth0", 0x2, 0);
    gateway.sql("insert into vlanEncapIf(rowid, vlanId, interfaceName, fwdMap)"
                " values(7, 11, 'eth1', '2,3')");
    platform::everything();
    // Further strings after the row are no harm.
    EXPECT_EQ(0, dbEvent("vlanEncapIf", 23, 7, vlanRow("10", "eth0") + oldValues({"x"}, {})));
    for (const char *name : {"BCM", "PSE"}) {
        Switch *sw = switchByNameGet(name);
        EXPECT_EQ(nullptr, switchVlanByIdGet(sw, 10));
        EXPECT_EQ(0xcu, switchVlanByIdGet(sw, 11)->fwdMap);
        EXPECT_STREQ("eth1", switchVlanByIdGet(sw, 11)->interfaceName);
    }
    const std::string lines = platform::everything();
    for (
        const char *part :
        {"query SELECT * from vlanEncapIf WHERE rowid=7\nlog 64 DBUpdate event: Table: vlanEncapIf "
         "opCode:23 rowId:7 processing \\n\n",
         "log 64 (switch=BCM) updated membership of vlan ID=11\\n\n",
         "log 64 (switch=BCM) (vlan:11) Successfully processed DB Update on  VLAN "
         "configuration.\\n\nlog 64 (switch=BCM) updated switch vlan (11) configuration.\\n\n"})
        EXPECT_HAS(lines, part);
    EXPECT_LACKS(lines, "vconfig");
}

TEST_F(Events, aDeletionIsDecodedFromTheBlockAlone)
{
    gateway.startFull();
    vlanRequest(SW_CMD_VLAN_ADD, 10, "eth0", 0x2, 0);
    platform::everything();
    EXPECT_EQ(0, dbEvent("vlanEncapIf", 9, 1, vlanRow("10", "eth0")));
    const std::string lines = platform::everything();
    EXPECT_LACKS(lines, "query");
    EXPECT_HAS(lines, "cmd vconfig rem eth0.10\n");
    EXPECT_EQ(nullptr, switchVlanByIdGet(switchByNameGet("PSE"), 10));
    EXPECT_EQ(0, dbEvent("vlanEncapIf", 9, 1)); // no block: an all-zero record
    EXPECT_LINES(platform::everything(), R"(
log 64 DBUpdate event: Table: vlanEncapIf opCode:9 rowId:1 processing \n
cmd vconfig rem .0
log 8 cmd (vconfig rem .0) returned (0).\n
unlink /var/VLAN.0.Uptime
log 64 DBUpdate event: Table: vlanEncapIf opCode:9 rowId:1 status=0\n
)");
    EXPECT_EQ("", brokenInvariant());
}

// Kinds of change that a table does not know, rows that are gone, other tables.
TEST_F(Events, eachEventEndsWithItsStatus)
{
    gateway.sql("create table audit(x); insert into audit values(1)");
    gateway.sql("create table swglobalcfg2(x); insert into swglobalcfg2 values(1)");
    gateway.sql("insert into vlanEncapIf(rowid, vlanId, interfaceName) values(6, 6, 'eth0')");
    gateway.startFull();
    const std::string old = vlanRow("10", "eth0");
    const struct {
        const char *table;
        int opCode;
        int64_t rowId;
        int result;
        bool processed;
    } cases[] = {
        {"swPortConfig", 23, 1, -1, true}, {"swPortConfig", 9, 1, -1, true},
        {"swGlobalCfg", 77, 1, -1, true},  {"vlanEncapIf", 0, 1, -1, false}, // no row
        {"vlanEncapIf", 77, 6, -1, true},  {"vlanEncapIf", 18, 99, -1, false},
        {"audit", 18, 1, 0, true},         {"audit", 9, 1, 0, true},
        {"missing", 18, 1, -1, false},     {"audit", 18, -2, -1, false},
        {"swglobalcfg2", 18, 1, 0, true},  {"audit", 23, 0x100000001, 0, true},
    };
    for (const auto &c : cases) {
        platform::everything();
        EXPECT_EQ(c.result, dbEvent(c.table, c.opCode, c.rowId)) << c.table << c.opCode;
        const std::string event = std::string(c.table) + " opCode:" + std::to_string(c.opCode) +
                                  " rowId:" + std::to_string(static_cast<int32_t>(c.rowId));
        const std::string text = framed(event, c.result);
        EXPECT_EQ(c.processed ? text : text.substr(text.rfind("64 ")), platform::log());
    }
}

TEST_F(Events, aRowThatTheModelRefusesGivesItsResult)
{
    gateway.startFull();
    gateway.sql("insert into swGlobalCfg(switchName) values('PSE')");
    EXPECT_EQ(-22, dbEvent("swGlobalCfg", 18, 3));
    EXPECT_HAS(platform::log(), R"(
8 There is a switch created already for this name\n
8 Failed to create switch configuration \n
8 Failed to create new switch profile \n
)");
    vlanRequest(SW_CMD_VLAN_ADD, 10, "eth0", 0x2, 0);
    platform::everything();
    platform::answer("VLAN_ENTRY_SET", -5);
    gateway.sql("insert into vlanEncapIf(rowid, vlanId) values(5, 10)");
    EXPECT_EQ(-1, dbEvent("vlanEncapIf", 23, 5, vlanRow("10", "eth0")));
    EXPECT_EQ(-1, dbEvent("vlanEncapIf", 9, 5, vlanRow("10", "eth0")));
    const std::string text = platform::log();
    EXPECT_HAS(text, "8 Failed to update switch vlan profile \\n\n");
    EXPECT_HAS(text, "8 Failed to delete switch vlan profile \\n\n");
    EXPECT_EQ("", brokenInvariant());
}

// SQLite would go on reading the file that it has open.
TEST(DeletedFile, isNotReadOn)
{
    char path[] = "/tmp/event-test-XXXXXX";
    close(mkstemp(path));
    sqlite3 *db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(path, &db));
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, "create table t(x); insert into t values(1)", nullptr,
                                      nullptr, nullptr));
    sqlite3_close(db);
    EXPECT_EQ(0, swMgrInit(path));
    EXPECT_EQ(0, dbEvent("t", SWMGR_DB_INSERT, 1));
    unlink(path);
    platform::everything();
    EXPECT_EQ(-1, dbEvent("t", SWMGR_DB_INSERT, 1));
    EXPECT_HAS(platform::everything(), "log 8 the database file was deleted or replaced");
    EXPECT_EQ(0, swMgrDeinit());
}

} // namespace
