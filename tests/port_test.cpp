// Ports, their mapping onto ports of the switch below, and their commands.
#include "support/fixture.h"

#include "config/switch_config.h"
#include "platform/list_of.h"
#include "switch/port.h"
#include "switch/port_mapping.h"
#include "switch/registry.h"

namespace {

int added(const char *switchName, int number, const char *mapping = "", int trustMode = 0)
{
    SwitchPortCfg cfg{};
    strcpy(cfg.switchName, switchName);
    cfg.portNumber = number;
    cfg.trustMode = trustMode;
    strncpy(cfg.phyDevice, mapping, sizeof(cfg.phyDevice) - 1);
    return switchPortConfAdd(&cfg);
}

struct Ports : testing::Test {
    Ports()
    {
        gateway.addSwitches();
        gateway.start();
        engine = switchByNameGet("PSE");
        chip = switchByNameGet("BCM");
    }
    Fixture gateway;
    Switch *engine, *chip;
};

std::string mappedOf(SwitchPort *port)
{
    std::string text;
    for (const SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(port->mappedList))
        text += std::string(node.mapped->ownerSwitch->switchName) + ":" +
                std::to_string(node.mapped->portNumber) + " ";
    return text;
}

TEST_F(Ports, aPortIsMappedAndItsSwitchBecomesTheOneAbove)
{
    added("BCM", 3);
    added("BCM", 4);
    platform::everything();
    EXPECT_EQ(0, added("PSE", 1, ",BCM:3,,BCM: 4x,", 4));
    EXPECT_LINES(platform::everything(), R"(
log 64 (switch=PSE) Processing  switch port trust mode configuration request (51)\n
log 64 (switch=PSE) Configuring TrustMode\n
cmd pri_ctl_func set 1 0 1 0 0 0
log 8 cmd (pri_ctl_func set 1 0 1 0 0 0) returned (0).\n
log 64 (switch=PSE) Trust Mode configuration (Success) \n
log 64 (switch=PSE) Sending command=(51) to lower switches\n
log 8 (switch=BCM) Invalid command (51)\n
log 8 (switch=BCM) (51) processing returned 0 \n
log 64 (switch=PSE) Lower switches processed command=(51). Result=Success\n
log 64 (switch=PSE) (port:1) Added switch port configuration.\n
)");
    SwitchPort *port = switchPortByNumberAndSwitchNameGet("PSE", 1);
    EXPECT_EQ("BCM:3 BCM:4 ", mappedOf(port));
    EXPECT_EQ(chip, switchLowerLvlSwitchByNameGet(engine, "BCM"));
    EXPECT_EQ(nullptr, salListNext(salListFirst(&engine->lowerLvlSwitchList)));
    EXPECT_EQ(3u, port->portIndex); // counted over the ports of all switches
    EXPECT_EQ(1u, switchPortByNumberGet(chip, 3)->portIndex);
}

TEST_F(Ports, aMappingThatCannotBeMadeRefusesTheRow)
{
    added("BCM", 3);
    const struct {
        const char *mapping, *message;
    } cases[] = {
        {"XYZ:3", "8 Failed to get the switch entry for XYZ \\n\n"},
        {"BCM:9", "8 Failed to get the switch port for 9 in BCM \\n\n"},
        {"BCM:3,BCM:-1", "8 Failed to get the switch port for -1 in BCM \\n\n"},
        {"BCM:", "8 Failed to get the switch entry for BCM \\n\n"},
        {"BCM:x", "8 Failed to get the switch entry for BCM \\n\n"},
        {":3", "8 Failed to get the switch entry for  \\n\n"},
        {"PSE:1", "8 Failed to get the switch entry for PSE \\n\n"}, // its own switch
    };
    EXPECT_EQ(0, added("PSE", 1));
    for (const auto &c : cases) {
        platform::everything();
        EXPECT_EQ(-1, added("PSE", 2, c.mapping)) << c.mapping;
        EXPECT_EQ(std::string(c.message) +
                      "8 (switch=PSE) (port:2) Failed to update port mapping for port2 in PSE \\n\n"
                      "8 (switch=PSE) (port:2) Failed to initiate port mappings \\n\n"
                      "8 Failed to create switch port configuration \\n\n",
                  platform::log());
        EXPECT_EQ(nullptr, switchPortByNumberGet(engine, 2));
        EXPECT_EQ("", brokenInvariant());
    }
    EXPECT_EQ(chip, switchLowerLvlSwitchByNameGet(engine, "BCM"));
}

TEST_F(Ports, aPortNeedsItsSwitchAndANumberOfItsOwn)
{
    added("BCM", 3);
    platform::everything();
    EXPECT_EQ(-1, added("bcm", 3));
    EXPECT_EQ(-1, added("BCM", 3, "PSE:1"));
    for (const auto &[name, number, result] :
         {std::tuple{"BCM", 3, 0}, {"BCM", 4, -22}, {"none", 3, -22}}) {
        SwitchPortCfg cfg{};
        strcpy(cfg.switchName, name);
        cfg.portNumber = number;
        EXPECT_EQ(result, switchPortDeinit(&cfg));
    }
    EXPECT_LINES(platform::everything(), R"(
log 8 bcm switch is not yet created \n
log 8 Failed to create switch port configuration \n
log 8 (switch=BCM) (port:3) There is a switch port created already for this name\n
log 8 Failed to create switch port configuration \n
log 8 Failed to find switch profile for BCM \n
log 8 none switch is not yet created \n
log 8 Failed to find switch profile for none \n
)");
}

TEST_F(Ports, aRefusedTrustModeLeavesThePortListedAndIsReportedThreeTimes)
{
    engine->lowerLvlCfgEnable = 0; // the engine's own result counts
    platform::answer("cmd pri_ctl_func", -5);
    EXPECT_EQ(-5, added("PSE", 7, "", 0));
    EXPECT_NE(nullptr, switchPortByNumberGet(engine, 7));
    EXPECT_LINES(platform::everything(), R"(
log 64 (switch=PSE) Processing  switch port trust mode configuration request (51)\n
log 64 (switch=PSE) Configuring TrustMode\n
cmd pri_ctl_func set 7 1 0 0 0 0
log 8 cmd (pri_ctl_func set 7 1 0 0 0 0) returned (-5).\n
log 64 (switch=PSE) Trust Mode configuration (Failed) \n
log 8 Failed to configure trustmode on port7 in PSE\n
log 8 (switch=PSE) (port:7) Failed to configure trust mode of port (7)
log 8 (switch=PSE) (port:7) Failed to apply switch port configuration \n
)");
    EXPECT_EQ(-1, added("PSE", 8, "", 9));
    platform::everything();
    platform::answerAsUsual();
    EXPECT_EQ(-1, switchPortCfgApply(engine, nullptr)); // port 7, then port 8
    EXPECT_EQ("cmd pri_ctl_func set 7 1 0 0 0 0\n", platform::hardware());
    EXPECT_EQ(-1, switchCfgApply(engine));
    const std::string text = platform::log();
    EXPECT_HAS(text, "\n8 Failed to apply switch port configuration \\n\n");
}

TEST_F(Ports, theFieldsOfTheRecordAreKept)
{
    SwitchPortCfg cfg{{"BCM"}, 2, 100, 3, 4, 1, {}, {}, 5, 6, 7, 8, 9, 10, 11};
    memset(cfg.interfaceName, 'i', sizeof(cfg.interfaceName));
    const SwitchPort *port = switchPortCreate(&cfg);
    EXPECT_EQ((std::vector{2, 100, 0, 3, 1, 4, 5, 6, 7, 8}),
              (std::vector{port->portNumber, port->PVID, port->non8021qFramesStatus, port->portType,
                           port->trustMode, port->mirroring, port->rateLimit, port->schedMode,
                           port->numQueues, port->queue1Weight}));
    EXPECT_EQ(0, memcmp(cfg.interfaceName, port->interfaceName, 64)); // full, no terminator
}

TEST_F(Ports, thePortsOfASwitchAreReconfiguredWithoutARecord)
{
    platform::answer("ioctl DEFAULT_TAG_SET", -5);
    added("BCM", 0);
    platform::everything();
    EXPECT_EQ(-5, switchPortVlanInfoConfigure(chip, switchPortByNumberGet(chip, 0)));
    EXPECT_LINES(platform::everything(), R"(
log 64 (switch=BCM) Processing switch port configuration set request (41)\n
ioctl DEFAULT_TAG_SET 000000000000
log 8 setting 802.1Q default tag for [0 0\n] failed. \n
log 8 (switch=BCM) (port:0) Failed to set PVID for port 0\n
log 8 Failed to configure port0 in BCM\n
)");
}

} // namespace
