// Logging: levels, labels, developer logging, bounds, the record that is sent.
#include "support/fixture.h"

#include "base/labels.h"
#include "base/log.h"
#include "model/switch.h"
#include "model/vlan.h"

#include <algorithm>
#include <sstream>

namespace {

struct LogTest : testing::Test {
    Fixture gateway;
};

int evaluated = 0;

const char *countedLabel()
{
    ++evaluated;
    return "";
}

int countedArgument()
{
    return ++evaluated;
}

TEST_F(LogTest, aRecordGoesToModule20WithItsTerminatorCounted)
{
    gateway.start();
    swMgrDebug("pre ", SWMGR_LOG_INFO, nullptr, 0, "%s%d", "abcd", 25);
    const platform::LogSent &sent = platform::lastLog();
    EXPECT_EQ(pSwMgrRelayCtx, sent.ctx);
    EXPECT_EQ((std::vector{20, 32, 40, 2, 0, 0}),
              (std::vector{sent.module, sent.type, int(sent.record.size()), sent.mode, sent.arg1,
                           sent.arg2}));
    platform::Bytes record(40, 0);
    record[0] = 103;
    record[4] = 64;
    EXPECT_EQ(record, sent.record);
    EXPECT_EQ("pre abcd25", sent.text);
    EXPECT_EQ(11u, sent.length);
}

TEST(Logging, textIsComposedOfPrefixPlaceAndMessage)
{
    EXPECT_EQ(0, swMgrDebug(nullptr, 8, nullptr, 0, "text %d\n", 1));
    EXPECT_EQ(0, swMgrDebug("", 64, nullptr, 5, "text"));
    EXPECT_EQ(0, swMgrDebug("(switch=PSE) ", 256, "switchConfAdd", 529, "text"));
    EXPECT_EQ(0, swMgrDebug("p", -1, "f", 1, "text"));
    EXPECT_EQ(0, swMgrDebug("p", -128, "f", 1, "text"));
    platform::answer("log", -5);
    EXPECT_EQ(0, swMgrDebug(nullptr, 0, nullptr, 0, "failed send"));
    EXPECT_LINES(platform::everything(), R"(
log 8 text 1\n
log 64 text
log 256 (switch=PSE) switchConfAdd:529:text
log 0 failed send
)");
}

TEST(Logging, foregroundPrintsWhateverTheLevelAndSendsNothing)
{
    swMgrForeground = 1;
    for (const int level : {8, 256, -1})
        swMgrDebug("a%d ", level, nullptr, 0, "100%%\n");
    platform::answer("stderr", -1);
    EXPECT_EQ(0, swMgrDebug(nullptr, 8, nullptr, 0, "x"));
    EXPECT_LINES(platform::everything(), R"(
stderr [%s] a%d 100%\n
stderr [%s] a%d 100%\n
stderr [%s] x
)");
}

TEST(Logging, longTextIsCutAt1023Characters)
{
    const std::string longText(3000, 'x');
    for (const auto &[prefix, func, text] : {std::tuple{std::string(), std::string("f"), longText},
                                             {longText, "f", "t"},
                                             {"p", longText, "t"},
                                             {"", "f", std::string(1018, 'y')}}) {
        swMgrDebug(prefix.c_str(), 8, func.c_str(), 12, "%s", text.c_str());
        EXPECT_EQ(1023u, platform::lastLog().text.size());
        EXPECT_EQ(1024u, platform::lastLog().length);
    }
    swMgrDebug(nullptr, 8, nullptr, 0, "%s", std::string(1022, 'z').c_str());
    EXPECT_EQ(1022u, platform::lastLog().text.size());
}

TEST(Logging, aDroppedMessageEvaluatesNeitherLabelNorArguments)
{
    LOG_DEVELOPER(countedLabel(), "%d", countedArgument());
    EXPECT_EQ(0, evaluated);
    EXPECT_EQ("", platform::everything());
    swMgrDevDebug = 1;
    LOG_DEVELOPER(countedLabel(), "%d", countedArgument());
    EXPECT_EQ(2, evaluated);
}

TEST(Logging, labelsNameSwitchPortAndVlanInTheirOwnClearedBuffer)
{
    Switch sw{};
    strcpy(sw.switchName, "PSE");
    SwitchPort port{};
    port.ownerSwitch = &sw;
    port.portNumber = -3;
    SwitchVlan vlan{};
    vlan.ownerSwitch = &sw;
    vlan.vlanId = 4094;
    EXPECT_STREQ("(switch=PSE) ", switchStrGet(&sw));
    EXPECT_STREQ("(switch=PSE) (port:-3) ", swPortStrGet(&port));
    EXPECT_STREQ("(switch=PSE) (vlan:4094) ", swVlanStrGet(&vlan));
    memset(sw.switchName, 'n', 511);
    EXPECT_EQ(511u, strlen(switchStrGet(&sw)));
    EXPECT_EQ(511u, strlen(swPortStrGet(&port)));
    strcpy(sw.switchName, "S");
    const std::string padded(std::string("(switch=S) ") + std::string(501, '\0'));
    EXPECT_EQ(padded, std::string(switchStrGet(&sw), 512));
}

// Of a message with level 256; the number is what stands between two colons.
std::string withoutLineNumber(std::string line)
{
    EXPECT_EQ("256 ", line.substr(0, 4)) << line;
    for (size_t at = 0; (at = line.find(':', at)) != std::string::npos; ++at) {
        const size_t end = line.find_first_not_of("0123456789", at + 1);
        if (end > at + 1 && end != std::string::npos && line[end] == ':')
            return line.erase(at, end - at);
    }
    ADD_FAILURE() << "no place: " << line;
    return line;
}

// Each message under the name of the operation whose steps state it.
TEST(Logging, developerLoggingNamesTheOperationOfEachMessage)
{
    swMgrDevDebug = 1;
    Fixture gateway;
    gateway.addSwitches();
    gateway.addPorts();
    gateway.sql("insert into vlanEncapIf(vlanId, interfaceName, fwdMap, untagMap)"
                " values(10, 'eth0', '1,2', '1')");
    ASSERT_EQ(0, swMgrInit(Fixture::path));
    interfaceEvent(23, 0, 0);
    EXPECT_EQ(0, dbEvent("vlanEncapIf", SWMGR_DB_DELETE, 1,
                         oldValues({"vlanId", "interfaceName"}, {"10", "eth0"})));
    const std::string text = platform::log();
    EXPECT_GT(std::count(text.begin(), text.end(), '\n'), 200);
    std::istringstream lines(text);
    std::string named;
    for (std::string line; std::getline(lines, line);)
        named += withoutLineNumber(line) + "\n";
    std::istringstream expected(R"(256 switchCreate:Creating BCM Switch \n
256 (switch=BCM) switchConfAdd:Added switch configuration.\n
256 (switch=BCM) bcmSwitchConfig:Processing vlan enable update request (33)\n
256 bcmVlanEnable:VLAN Enable status 1\n
256 (switch=BCM) bcmSwitchConfig:Invalid command (47)\n
256 (switch=PSE) pseSwitchConfig:Processing QoS Configuration request (47)\n
256 (switch=PSE) pseQoSConfigure:Configuring QoS [Status:1] \n
256 pseQoSConfigure:cmd (sppe_ioctl rl enable) returned (0).\n
256 (switch=PSE) psePauseFrameConfigure:Pause Frame configuration Success \n
256 (switch=PSE) pseLowerSwitchConfig:Sending command=(47) to lower switches\n
256 switchPortCreate:Creating 1 port in PSE \n
256 (switch=PSE) (port:1) switchPortMappedListAppend:Mapping BCM:1 to PSE:1 \n
256 switchLowerLvlSwitchListAppend:This switch(PSE) is already present in (BCM) lower levelswitches \n
256 (switch=PSE) (port:1) switchPortConfAdd:Added switch port configuration.\n
256 switchVlanConfParamsAssign:Copying params for 10 VLAN\n
256 (switch=BCM) (vlan:10) switchVlanCfgApply:Applying VLAN Configuration.\n
256 bcmVlanMembershipConfigure:Clearing VLAN Membership 10\n
256 bcmVlanMembershipConfigure:Modifying untag value to 2 and fwdMap to 22 for vlanid: 10 \n
256 bcmSwitchPortConfigure:Updating PVID of port 2 to 10\n
256 bcmSwitchPortConfigure:After port (1) iteration non8021qFramesStatus is 2 \n
256 bcmSwitchPortConfigure:After vlan iteration (10) map (6:2) non8021qFramesStatus is 2 \n
256 bcmSwitchPortConfigure:New non8021qFramesStatus is 2 \n
256 bcmNon8021qFramesStateChange:Configuring non8021qFramesStatus to (0) for port (1) \n
256 (switch=PSE) (vlan:10) pseVlanMembershipSet:Adding port(3) to membership. \n
256 (switch=PSE) (vlan:10) pseVlanMembershipSet:Configuration: etagMap 12, mbMap 12, isWan 0, macAddr 00:11:22:33:44:50\n
256 switchVlanEncapDestroy:cmd (vconfig rem eth0.10) returned (0).\n
256 switchVlanEncapIngressCoSMapConfig:cmd (/sbin/vconfig set_ingress_map eth0.10 7 7) returned (0).\n
256 switchVlanEncapEgressCoSMapConfig:cmd (/sbin/vconfig set_egress_map eth0.10 0 0) returned (0).\n
256 pseVlanMembershipConfigure:cmd (vlan_table_func edit 4 0 0xc 0xc 10 00:11:22:33:44:50 1) returned (0).\n
256 pseCpuARLTableEntryAdd:cmd (arl_table_func add 00:11:22:33:44:50 10 0x4 0x1) returned (0).\n
256 (switch=PSE) switchVlanByConfCreate:Created switch vlan (ID=10)\n
256 swMgrHandleIfDevEvent:Received interface event=23 on eth1\n
256 swMgrIoctlHandler:failed to handle interface events\n
256 swMgrDBUpdateHandler:DBUpdate event: Table: vlanEncapIf opCode:9 rowId:1\n
256 swMgrDBUpdateHandler:DBUpdate event: Table: vlanEncapIf opCode:9 rowId:1 processing \n
256 switchVlanDisable:Disabling Vlan10 in BCM\n
256 (switch=PSE) switchVlanConfDelete:Deleted vlan (ID=10).\n)");
    for (std::string line; std::getline(expected, line);)
        EXPECT_HAS(named, line);
}

} // namespace
