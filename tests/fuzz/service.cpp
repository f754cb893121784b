// Starts, asks, checks and stops the service.
#include "service.h"

#include "platform.h"
#include "platform/list_of.h"
#include "service/reload.h"
#include "switch/model.h"
#include "switch/registry.h"
#include "swmgr/swmgr.h"
#include "vlan/model.h"
#include "vlan/vlan.h"

#include <map>
#include <set>
#include <sqlite3.h>

namespace fuzz {

namespace {

constexpr int32_t mostUsedId = 16; // inputs use ids up to this one more than others

constexpr const char *path = "file:fuzz?mode=memory&cache=shared";

// The engine has the highest level there is, so that no row of an input moves
// the top for the inputs after it.
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

int pauseFramesSend(Service &service, int32_t on)
{
    SwMgrSwitchCmdRequest body{};
    memcpy(body.switchName, "PSE", sizeof("PSE"));
    memcpy(body.payload, &on, sizeof(on));
    return service.request(SW_CMD_PAUSE_FRAME, bytesOf(body));
}

// Once: lets the service say every line that it ever gives to a shell.
void shellLinesLearn()
{
    Service service;
    require(pauseFramesSend(service, 0) == 0, "pause frames are switched off");
    require(pauseFramesSend(service, 1) == 0, "pause frames are switched on");
    require(shellLinesSeen() == 6, "three registers are set and cleared");
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

// The blocks that can be reached from the list of switches.
class Reached {
public:
    Reached()
    {
        for (Switch &sw : ListOf<Switch>(switchTbl))
            switchAdd(sw);
    }

    [[nodiscard]] bool has(void *block) const { return blocks.count(block) == 1; }

private:
    void add(void *block) { require(blocks.insert(block).second, "an object is in one list only"); }

    void switchAdd(Switch &sw)
    {
        add(&sw);
        require(sw.lowerLvlCfgEnable == 1, "a switch hands commands on");
        require(sw.configFunc != nullptr, "a switch has its backend");
        require(names.insert(sw.switchName).second, "a switch's name is its own");
        for (SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(sw.lowerLvlSwitchList)) {
            add(&node);
            require(node.lower != &sw, "a switch is not below itself");
        }
        std::set<int32_t> numbers;
        for (SwitchPort &port : ListOf<SwitchPort>(sw.portList)) {
            portAdd(sw, port);
            require(numbers.insert(port.portNumber).second, "a port's number is its own");
            require(indices.insert(port.portIndex).second, "a port's index is its own");
        }
        for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw.vlanList)) {
            add(&vlan);
            require(vlan.ownerSwitch == &sw, "a VLAN is in the list of its owner");
            require(vlan.vlanIndex > 0, "a VLAN has an index");
        }
        lookUpCheck(sw);
    }

    // A look-up by id finds what a walk finds, also where it does not walk.
    static void lookUpCheck(Switch &sw)
    {
        std::map<int32_t, SwitchVlan *> firsts;
        for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw.vlanList))
            firsts.emplace(vlan.vlanId, &vlan);
        for (const auto &[id, first] : firsts)
            require(switchVlanByIdGet(&sw, id) == first, "a VLAN is found by its id");
        for (int32_t id = -1; id <= mostUsedId; ++id)
            require(firsts.count(id) == 1 || switchVlanByIdGet(&sw, id) == nullptr,
                    "what is not listed is not found");
    }

    void portAdd(Switch &sw, SwitchPort &port)
    {
        add(&port);
        require(port.ownerSwitch == &sw, "a port is in the list of its owner");
        for (SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(port.mappedList)) {
            add(&node);
            require(node.mapped->ownerSwitch != &sw, "a port is mapped onto another switch");
        }
    }

    std::set<void *> blocks;
    std::set<std::string> names;
    std::set<uint32_t> indices;
};

} // namespace

Service::Service()
{
    setUpOnce();
    faultArm({0, 0, 0});
    fileTextSet("512.34 1000.00\n");
    driverByteSet(0);
    swMgrDevDebug = 0;
    swMgrForeground = 0;
    blocksForget();
    require(swMgrInit(path) == 0, "the service starts");
    require(switchVlanByIdGet(switchByNameGet("PSE"), 100) != nullptr, "the VLANs are loaded");
    invariantsCheck();
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

int Service::request(int type, const std::string &data, const std::string &reply)
{
    RelayMsgHdr header{0, 55, 0, 0, 1};
    const Block dataBlock(data);
    const Block replyBlock(reply);
    auto replyLen = static_cast<uint32_t>(reply.size());
    const int status =
        registeredHandler()(nullptr, &header, type, dataBlock.data(), static_cast<int>(data.size()),
                            reply.empty() ? nullptr : replyBlock.data(), &replyLen);
    require(status <= 0, "a status is 0 or negative");
    invariantsCheck();
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

int Service::eventSend(const Table &table, int32_t opCode, int64_t rowId,
                       const std::string &oldValues)
{
    SwMgrDbEvent event{};
    memcpy(event.tableName, table.name, strlen(table.name));
    event.rowId = rowId;
    event.opCode = opCode;
    return request(SWMGR_MSG_DB_EVENT, bytesOf(event), oldValues);
}

void Service::reload()
{
    if (reloaded)
        return;
    reloaded = true;
    const int status = swMgrCfgReload();
    require(status <= 0, "a status is 0 or negative");
    // The objects from before live on by contract, though nothing leads to them.
    const Reached reached;
    for (const auto &[block, size] : blocksHeld()) {
        if (!reached.has(block))
            abandoned.insert(block);
    }
    invariantsCheck();
}

void Service::invariantsCheck() const
{
    const Reached reached;
    // A switch that could not be set up is kept, though nothing lists it.
    for (const auto &[block, size] : blocksHeld())
        require(reached.has(block) || size == sizeof(Switch) || abandoned.count(block) == 1,
                "a block that is held is reachable");
    require(filesOpen() == 0, "no file stays open");
}

// Whatever happened, the next well-formed requests are served.
void Service::additionCheck()
{
    Switch *top = switchAtTopLevelGet();
    SwMgrVlanRequest body{};
    body.vlan.vlanId = 4001;
    const auto isListed = [&body](Switch &sw) {
        return switchVlanByIdGet(&sw, body.vlan.vlanId) != nullptr;
    };
    for (Switch &sw : ListOf<Switch>(switchTbl)) {
        while (isListed(sw))
            ++body.vlan.vlanId;
    }
    memcpy(body.vlan.interfaceName, "eth1", sizeof("eth1"));
    body.vlan.fwdMap = 0xe;
    body.vlan.untagMap = 0x2;
    const int expected = top != nullptr ? 0 : -22;
    require(request(SW_CMD_VLAN_ADD, bytesOf(body)) == expected, "an addition is answered");
    for (Switch &sw : ListOf<Switch>(switchTbl))
        require(isListed(sw) == (top != nullptr), "an added VLAN is in every switch");
    require(request(SW_CMD_VLAN_DELETE, bytesOf(body)) == expected, "a deletion is answered");
    for (Switch &sw : ListOf<Switch>(switchTbl))
        require(!isListed(sw), "a deleted VLAN is in no switch");
}

} // namespace fuzz
