// Starts, calls, checks and stops the service.
#include "service.h"

#include "platform.h"
#include "platform/list_of.h"
#include "service/reload.h"
#include "support/invariants.h"
#include "support/platform.h"
#include "support/requests.h"
#include "switch/registry.h"
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"
#include "vlan/vlan.h"

#include <sqlite3.h>

namespace fuzz {

namespace {

constexpr const char *path = "file:fuzz?mode=memory&cache=shared";

// The engine has the highest possible level, so that no row of an input changes the
// top-level switch for later inputs.
constexpr const char *configuration = R"(
    insert into swGlobalCfg values('BCM', '/dev/bcm', 1, 1, 5, 1, 0, 0, 1),
                                  ('PSE', '', 1, 1, 4, 0, 0, 0, 2147483647);
    insert into swPortConfig(switchName, portNumber, trustMode, phyDevice) values
        ('BCM', 0, 0, ''), ('BCM', 1, 0, ''), ('BCM', 2, 0, ''), ('BCM', 3, 0, ''),
        ('BCM', 4, 0, ''), ('PSE', 1, 0, 'BCM:1'), ('PSE', 2, 1, 'BCM:2'),
        ('PSE', 3, 2, 'BCM:3,BCM:4'), ('PSE', 4, 4, 'BCM:4');
    insert into vlanEncapIf(vlanId, interfaceName, fwdMap, untagMap, inSwitchOnly) values
        (1, 'eth0', '0,1', '0', 0), (2, 'eth0', '1,2,3', '2', 0), (3, 'eth1', '3', NULL, 1),
        (100, 'eth1', '0,1,2,3', '3', 0);
)";

sqlite3 *database = nullptr; // the other process's connection

void sql(const std::string &text)
{
    char *message = nullptr;
    const int status = sqlite3_exec(database, text.c_str(), nullptr, nullptr, &message);
    if (status != SQLITE_OK)
        fprintf(stderr, "%s: %s\n", text.c_str(), message);
    require(status == SQLITE_OK, "the database takes a statement");
}

std::string columnList(const Table &table)
{
    std::string list;
    for (const std::string &column : table.columns)
        list += (list.empty() ? "" : ", ") + column;
    return list;
}

void databaseFill()
{
    for (const Table &table : tables())
        sql("delete from " + std::string(table.name));
    sql(configuration);
}

void databaseOpen()
{
    sqlite3_config(SQLITE_CONFIG_URI, 1);
    require(sqlite3_open(path, &database) == SQLITE_OK, "the database opens");
    for (const Table &table : tables())
        sql("create table " + std::string(table.name) + "(" + columnList(table) + ")");
    databaseFill();
}

// Once: makes the service run every line that it ever passes to a shell.
void shellLinesLearn()
{
    Service service;
    for (const int32_t on : {0, 1})
        require(switchRequest("PSE", SW_CMD_PAUSE_FRAME, bytesOf(on)) == 0,
                "pause frames are switched");
    shellLinesFreeze();
}

void setUpOnce()
{
    static bool done = false;
    if (done)
        return;
    done = true;
    databaseOpen();
    shellLinesLearn();
}

} // namespace

Service::Service()
{
    setUpOnce();
    faultArm({0, 0, 0});
    platform::answerAsUsual();
    platform::fileContent("/proc/uptime", "512.34 1000.00\n");
    swMgrDevDebug = 0;
    swMgrForeground = 0;
    watchBegin();
    require(swMgrInit(path) == 0, "the service starts");
    require(switchVlanByIdGet(switchByNameGet("PSE"), 100) != nullptr, "the VLANs are loaded");
    check(0);
}

Service::~Service()
{
    faultArm({0, 0, 0});
    additionCheck();
    swMgrDeinit();
    blocksFree();
    if (databaseChanged)
        databaseFill();
}

int Service::check(int status) const
{
    require(status <= 0, "a status is 0 or negative");
    const std::string broken = brokenInvariant(abandoned);
    require(broken.empty(), broken.c_str());
    return status;
}

void Service::rowWrite(const Table &table, int64_t rowId, const std::vector<Cell> &row)
{
    databaseChanged = true;
    std::string values = std::to_string(rowId);
    for (size_t c = 0; c < row.size(); ++c)
        values += ", ?";
    const std::string text = "insert or replace into " + std::string(table.name) + "(rowid, " +
                             columnList(table) + ") values(" + values + ")";
    sqlite3_stmt *statement = nullptr;
    require(sqlite3_prepare_v2(database, text.c_str(), -1, &statement, nullptr) == SQLITE_OK,
            "a row can be written");
    for (size_t c = 0; c < row.size(); ++c) {
        if (row[c].present)
            sqlite3_bind_text(statement, static_cast<int>(c) + 1, row[c].text.data(),
                              static_cast<int>(row[c].text.size()), SQLITE_STATIC);
    }
    require(sqlite3_step(statement) == SQLITE_DONE, "a row is written");
    sqlite3_finalize(statement);
}

void Service::rowDelete(const Table &table, int64_t rowId)
{
    databaseChanged = true;
    sql("delete from " + std::string(table.name) + " where rowid = " + std::to_string(rowId));
}

void Service::reload()
{
    if (reloaded)
        return;
    reloaded = true;
    const int status = swMgrCfgReload();
    // By contract the previous objects stay alive, although nothing refers to them.
    abandoned.merge(unreachedBlocks());
    check(status);
}

// Whatever happened before, well-formed requests are served.
void Service::additionCheck()
{
    const bool served = switchAtTopLevelGet() != nullptr;
    int32_t id = 4001;
    const auto listing = [&id] {
        int count = 0;
        for (Switch &sw : ListOf<Switch>(switchTbl))
            count += switchVlanByIdGet(&sw, id) != nullptr ? 1 : 0;
        return count;
    };
    int switches = 0;
    for ([[maybe_unused]] Switch &sw : ListOf<Switch>(switchTbl))
        ++switches;
    while (listing() != 0)
        ++id;
    const int expected = served ? 0 : -22;
    require(check(vlanRequest(SW_CMD_VLAN_ADD, id, "eth1", 0xe, 0x2)) == expected,
            "an addition is answered");
    require(listing() == (served ? switches : 0), "an added VLAN is in every switch");
    require(check(vlanRequest(SW_CMD_VLAN_DELETE, id, "eth1", 0, 0)) == expected,
            "a deletion is answered");
    require(listing() == 0, "a deleted VLAN is in no switch");
}

} // namespace fuzz
