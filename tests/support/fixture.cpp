// Fills the database and starts the service.
#include "support/fixture.h"

Fixture::Fixture()
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

Fixture::~Fixture()
{
    swMgrDeinit();
    sqlite3_close(db);
}

void Fixture::sql(const std::string &text)
{
    char *message = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, text.c_str(), nullptr, nullptr, &message)) << message;
}

void Fixture::addSwitches()
{
    sql("insert into swGlobalCfg values('BCM', '/dev/bcm', 1, 1, 5, 1, 0, 0, 1),"
        " ('PSE', '', 1, 1, 4, 0, 0, 0, 2)");
}

void Fixture::addPorts()
{
    for (const char *port : {"0", "1", "2", "3", "4"})
        sql(std::string("insert into swPortConfig(switchName, portNumber, PVID) values('BCM',") +
            port + ", 1)");
    for (const char *port : {"1", "2", "3", "4"})
        sql(std::string("insert into swPortConfig(switchName, portNumber, trustMode, phyDevice)"
                        " values('PSE',") +
            port + ", 4, 'BCM:" + port + "')");
}

void Fixture::start()
{
    ASSERT_EQ(0, swMgrInit(path));
    platform::everything();
}
