// Builds the database and the requests.
#include "support/gateway.h"

#include "platform/list_of.h"
#include "switch/model.h"
#include "switch/registry.h"
#include "vlan/model.h"

#include <cstring>
#include <map>
#include <set>

std::string oldValues(const std::vector<std::string> &names, const std::vector<std::string> &values)
{
    std::string block;
    for (const auto *strings : {&names, &values}) {
        for (const std::string &text : *strings)
            block += text + '\0';
    }
    return block;
}

Gateway::Gateway()
{
    EXPECT_EQ(SQLITE_OK, sqlite3_open(path, &db));
    sql("create table swGlobalCfg(switchName, switchDevice, vlanEnable, qosEnable, numPorts,"
        " pauseFrameEnable, igmpSnoopingEnable, mldSnoopingEnable, switchLevel);"
        "create table swPortConfig(switchName, portNumber, PVID, portType, mirroring, trustMode,"
        " interfaceName, phyDevice, rateLimit, schedMode, numQueues, queue1Weight, queue2Weight,"
        " queue3Weight, queue4Weight);"
        "create table vlanEncapIf(vlanId, interfaceName, LogicalIfName, ingressMap, egressMap,"
        " fwdMap, untagMap, inSwitchOnly)");
}

Gateway::~Gateway()
{
    swMgrDeinit();
    sqlite3_close(db);
}

void Gateway::sql(const std::string &text)
{
    char *message = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, text.c_str(), nullptr, nullptr, &message)) << message;
}

void Gateway::addSwitches()
{
    sql("insert into swGlobalCfg values('BCM', '/dev/bcm', 1, 1, 5, 1, 0, 0, 1),"
        " ('PSE', '', 1, 1, 4, 0, 0, 0, 2)");
}

void Gateway::addPorts()
{
    for (const char *port : {"0", "1", "2", "3", "4"})
        sql(std::string("insert into swPortConfig(switchName, portNumber, PVID) values('BCM',") +
            port + ", 1)");
    for (const char *port : {"1", "2", "3", "4"})
        sql(std::string("insert into swPortConfig(switchName, portNumber, trustMode, phyDevice)"
                        " values('PSE',") +
            port + ", 4, 'BCM:" + port + "')");
}

void Gateway::start()
{
    ASSERT_EQ(0, swMgrInit(path));
    platform::everything();
}

void Gateway::startFull()
{
    addSwitches();
    addPorts();
    start();
}

int request(int type, std::string data, std::string reply)
{
    RelayMsgHdr header{0, 55, 0, 0, 1};
    auto length = static_cast<uint32_t>(reply.size());
    // Exactly as long as it says, so that a sanitizer sees a read beyond it.
    std::vector<char> bytes(data.begin(), data.end());
    std::vector<char> answer(reply.begin(), reply.end());
    return platform::handler()(nullptr, &header, type, bytes.data(), static_cast<int>(bytes.size()),
                               reply.empty() ? nullptr : answer.data(), &length);
}

int dbEvent(const std::string &table, int opCode, int64_t rowId, const std::string &old)
{
    SwMgrDbEvent event{};
    memcpy(event.tableName, table.data(), std::min(table.size(), sizeof(event.tableName)));
    event.rowId = rowId;
    event.opCode = opCode;
    return request(SWMGR_MSG_DB_EVENT, bytesOf(event), old);
}

int switchRequest(const std::string &switchName, int command, const std::string &payload)
{
    SwMgrSwitchCmdRequest body{};
    memcpy(body.switchName, switchName.data(),
           std::min(switchName.size(), sizeof(body.switchName)));
    memcpy(body.payload, payload.data(), payload.size());
    return request(command, bytesOf(body));
}

int vlanRequest(int type, int id, const std::string &interfaceName, uint32_t fwdMap,
                uint32_t untagMap, int inSwitchOnly)
{
    SwMgrVlanRequest body{};
    memset(body.reserved, 'x', sizeof(body.reserved));
    body.vlan.vlanId = id;
    memcpy(body.vlan.interfaceName, interfaceName.data(),
           std::min(interfaceName.size(), sizeof(body.vlan.interfaceName)));
    body.vlan.fwdMap = fwdMap;
    body.vlan.untagMap = untagMap;
    body.vlan.inSwitchOnly = inSwitchOnly;
    return request(type, bytesOf(body));
}

int interfaceEvent(uint32_t code, uint32_t total, uint32_t percentage)
{
    SwMgrIfDevEvent event{};
    strcpy(event.interfaceName, "eth1");
    event.eventCode = code;
    SwMgrIfBandwidth bandwidth{};
    bandwidth.totalBandwidth = total;
    bandwidth.percentage = percentage;
    return request(SWMGR_MSG_IFDEV_EVENT, bytesOf(event), bytesOf(bandwidth));
}

std::string brokenInvariant()
{
    std::set<const void *> reached;
    std::set<const Switch *> listed;
    for (Switch &sw : ListOf<Switch>(switchTbl)) {
        listed.insert(&sw);
        reached.insert(&sw);
        if (sw.lowerLvlCfgEnable != 1)
            return std::string(sw.switchName) + " does not hand commands on";
        for (SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(sw.lowerLvlSwitchList))
            reached.insert(&node);
        for (SwitchPort &port : ListOf<SwitchPort>(sw.portList)) {
            reached.insert(&port);
            for (SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(port.mappedList))
                reached.insert(&node);
        }
        for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw.vlanList)) {
            if (vlan.ownerSwitch != &sw || !reached.insert(&vlan).second)
                return "VLAN " + std::to_string(vlan.vlanId) + " is not in its owner's list alone";
        }
    }
    // A switch whose start failed is kept though nothing lists it.
    for (const platform::Block &block : platform::blocksHeld()) {
        if (reached.count(block.address) == 0 && block.size != sizeof(Switch))
            return "a block of " + std::to_string(block.size) + " bytes is lost";
    }
    return platform::sqliteHeld() == 0 ? "" : "a result table or a query text is lost";
}
