// VLAN records: objects in every switch and the Linux sub-interface.
#include "support/fixture.h"

#include "config/vlan_config.h"
#include "switch/registry.h"
#include "vlan/encap.h"
#include "vlan/uptime.h"
#include "vlan/vlan.h"

#include <algorithm>

namespace {

struct VlanConfig : testing::Test {
    VlanConfig()
    {
        gateway.startFull();
        engine = switchByNameGet("PSE");
        chip = switchByNameGet("BCM");
    }
    Fixture gateway;
    Switch *engine, *chip;
};

std::string encapLines(const std::string &interface, const std::string &id)
{
    const std::string sub = interface + "." + id;
    std::string lines = "cmd vconfig rem " + sub + "\nunlink /var/VLAN." + id +
                        ".Uptime\ncmd vconfig add " + interface + " " + id + "\ncmd ifconfig " +
                        sub + " up\nfile /proc/uptime r\nfile closed\nfile /var/VLAN." + id +
                        ".Uptime w+\nwrite /var/VLAN." + id + ".Uptime 512\\n\nfile closed\n";
    for (const char *priority : {"0", "1", "2", "3", "4", "5", "6", "7"})
        for (const char *map : {"ingress", "egress"})
            lines += std::string("cmd /sbin/vconfig set_") + map + "_map " + sub + " " + priority +
                     " " + priority + "\n";
    return lines;
}

TEST(Encapsulation, onlyTheAddAndTheLastEgressMapDecide)
{
    const struct {
        const char *failing;
        int answer, result;
        int64_t calls;
    } cases[] = {{"vconfig rem", -1, 0, 25},         {"vconfig add", 1, 1, 3},
                 {"vconfig add", -2, -2, 3},         {"ifconfig", -1, 0, 25},
                 {"egress_map eth1.7 7", 3, 3, 25},  {"egress_map eth1.7 7", -3, -3, 25},
                 {"egress_map eth1.7 6", -3, 0, 25}, {"ingress_map", -3, 0, 25},
                 {"file /proc", -1, 0, 21},          {"file /var", -1, 0, 23}};
    for (const auto &c : cases) {
        platform::answerAsUsual();
        platform::answer(c.failing, c.answer);
        EXPECT_EQ(c.result, switchVlanEncapCreate("eth1", 7)) << c.failing;
        const std::string lines = platform::hardware();
        EXPECT_EQ(c.calls, std::count(lines.begin(), lines.end(), '\n')) << c.failing;
    }
}

TEST(Encapsulation, theUptimeIsReadInWholeSeconds)
{
    for (const auto &[content, result, seconds] : {std::tuple{"512.34 8\n", 0, 512u},
                                                   {"no number", 0, 0u},
                                                   {"4294967295", 0, 4294967295u},
                                                   {"", -1, 0u}}) {
        platform::fileContent("/f", content);
        uint32_t value = 9;
        EXPECT_EQ(result, timeEventGet(&value, "/f"));
        EXPECT_EQ(seconds, value) << content;
    }
}

TEST_F(VlanConfig, aRequestMakesTheVlanInEverySwitchAndItsInterface)
{
    EXPECT_EQ(0, vlanRequest(SW_CMD_VLAN_ADD, 20, "eth1", 0x6, 0x2));
    const std::string portLines = R"(ioctl DEFAULT_TAG_SET 000001000000
ioctl NON8021Q_FRAMES_SET 000001000000
ioctl DEFAULT_TAG_SET 010014000000
ioctl NON8021Q_FRAMES_SET 010000000000
ioctl DEFAULT_TAG_SET 020001000000
ioctl NON8021Q_FRAMES_SET 020001000000
ioctl DEFAULT_TAG_SET 030001000000
ioctl NON8021Q_FRAMES_SET 030001000000
ioctl DEFAULT_TAG_SET 040001000000
ioctl NON8021Q_FRAMES_SET 040001000000
)";
    // fwdMap 6 is chip ports 1 and 2, and numbers 2 and 3 in the engine's view.
    const std::string mac = "socket 2 2 0\nioctl HWADDR eth1\nclose 9\n";
    EXPECT_EQ(portLines + "ioctl VLAN_CLEAR 1400000000\nioctl VLAN_ENTRY_SET 14000700020000\n" +
                  mac + mac +
                  "cmd vlan_table_func edit 4 1 0xc 0xc 20 00:11:22:33:44:55 1\n"
                  "cmd arl_table_func add 00:11:22:33:44:55 20 0x4 0x1\n" +
                  encapLines("eth1", "20"),
              platform::hardware());
    EXPECT_EQ(4, switchVlanByIdGet(engine, 20)->vlanIndex);
    EXPECT_EQ(5, switchNextVlanIndexGet());
    EXPECT_EQ(0, vlanRequest(SW_CMD_VLAN_ADD, 21, "eth1", 0, 0));
    EXPECT_HAS(platform::log(), R"(
64 (switch=PSE) handler not defined for command (41)\n
128 (switch=PSE) (vlan:21) Applying VLAN Configuration.\n
64 (switch=PSE) Processing vlan membership configure request (35)\n
8 cmd (vlan_table_func edit 5 0 0x0 0x0 21  1) returned (0).\n
8 cmd (arl_table_func del  21) returned (0).\n
64 (switch=PSE) Created switch vlan (ID=21)\n
)");
    EXPECT_EQ(0, vlanRequest(SW_CMD_VLAN_DELETE, 21, "eth1", 0, 0));
    platform::everything();
    EXPECT_EQ(0, vlanRequest(SW_CMD_VLAN_DELETE, 20, "eth1", 0, 0));
    const std::string emptied =
        "ioctl VLAN_CLEAR 1400000000\nioctl VLAN_ENTRY_SET 14000000000000\n";
    const std::string portsAfter = [&] { // untagged nowhere: keeps its PVID, state 1
        std::string text = portLines;
        return text.replace(text.find("SET 010000"), 16, "SET 010001000000");
    }();
    const std::string engineEmptied =
        "cmd vlan_table_func edit 4 0 0x0 0x0 20  1\ncmd arl_table_func del  20\n";
    // The engine hands the last two commands of a deletion on to the chip.
    EXPECT_EQ(emptied + portsAfter + emptied + engineEmptied + portsAfter + engineEmptied +
                  emptied + "cmd vconfig rem eth1.20\nunlink /var/VLAN.20.Uptime\n",
              platform::hardware());
    EXPECT_EQ("", brokenInvariant());
}

TEST_F(VlanConfig, aFailedAddKeepsTheIndexAndSaysNothingToTheRequester)
{
    const struct {
        const char *failing;
        int answer;
        const char *message;
        bool inChip, inEngine;
    } cases[] = {
        {"VLAN_ENTRY_SET 1e", -5, "8 (switch=BCM) Failed to create vlan (ID=30)\\n\n", false,
         false},
        {"vlan_table_func", -5, "8 (switch=PSE) Failed to create vlan (ID=31)\\n\n", true, false},
        {"vconfig add", -5, "8 Failed to apply configuration in eth0 \\n\n", true, true},
        {"egress_map eth0.33 7", -5, "8 Failed to apply configuration in eth0 \\n\n", true, true},
    };
    int id = 30;
    for (const auto &c : cases) {
        platform::answerAsUsual();
        platform::answer(c.failing, c.answer);
        EXPECT_EQ(0, vlanRequest(SW_CMD_VLAN_ADD, id, "eth0", 0x2, 0)) << id;
        EXPECT_HAS(platform::log(), c.message);
        EXPECT_EQ(c.inChip, switchVlanByIdGet(chip, id) != nullptr) << id;
        EXPECT_EQ(c.inEngine, switchVlanByIdGet(engine, id) != nullptr) << id;
        EXPECT_EQ(4, switchNextVlanIndexGet()) << id;
        EXPECT_EQ("", brokenInvariant());
        ++id;
    }
}

TEST_F(VlanConfig, anUpdateFindsTheOldIdAndLeavesTheInterfaceAlone)
{
    vlanRequest(SW_CMD_VLAN_ADD, 10, "eth0", 0x2, 0x2);
    vlanRequest(SW_CMD_VLAN_ADD, 11, "eth0", 0x4, 0);
    SwitchVlanCfg oldCfg{}, newCfg{};
    oldCfg.vlanId = 10;
    newCfg.vlanId = 12;
    newCfg.fwdMap = 0x8;
    strcpy(newCfg.interfaceName, "eth1");
    platform::everything();
    EXPECT_EQ(0, switchVlanConfUpdate(&newCfg, &oldCfg));
    EXPECT_LACKS(platform::hardware(), "vconfig");
    const SwitchVlan *vlan = switchVlanByIdGet(engine, 12);
    EXPECT_EQ(4, vlan->vlanIndex);
    EXPECT_EQ(nullptr, switchVlanByIdGet(chip, 10));
    EXPECT_EQ(&vlan->link, engine->vlanList.last);
    oldCfg.vlanId = 99;
    EXPECT_EQ(0, switchVlanConfUpdate(&newCfg, &oldCfg));
    EXPECT_EQ("", platform::hardware());
    oldCfg.vlanId = 11;
    platform::answer("VLAN_ENTRY_SET", -5);
    EXPECT_EQ(-1, switchVlanConfUpdate(&newCfg, &oldCfg));
    EXPECT_HAS(platform::log(), "8 (switch=BCM) Failed to update switch vlan configuration \\n\n");
    EXPECT_EQ("", brokenInvariant());
}

TEST_F(VlanConfig, aDeleteStopsAtTheFailingSwitchAndSparesTheInterface)
{
    vlanRequest(SW_CMD_VLAN_ADD, 10, "eth0", 0x2, 0x2);
    SwitchVlanCfg cfg{};
    cfg.vlanId = 10;
    strcpy(cfg.interfaceName, "eth0");
    platform::everything();
    platform::answer("vlan_table_func", -5);
    EXPECT_EQ(-1, switchVlanConfDelete(&cfg));
    const std::string lines = platform::everything();
    EXPECT_HAS(lines, "log 64 (switch=BCM) Deleted vlan (ID=10).\\n\n");
    EXPECT_HAS(lines, "log 8 (switch=PSE) Failed to delete vlan (ID=10)\\n\n");
    EXPECT_LACKS(lines, "vconfig");
    platform::answerAsUsual();
    platform::answer("vconfig rem", -5);
    cfg.vlanId = 77; // held by no switch
    EXPECT_EQ(-5, switchVlanConfDelete(&cfg));
    EXPECT_LINES(platform::everything(), R"(
cmd vconfig rem eth0.77
log 8 cmd (vconfig rem eth0.77) returned (-5).\n
unlink /var/VLAN.77.Uptime
log 8 Failed to delete encap interface for vlan ID=77\n
)");
    EXPECT_EQ("", brokenInvariant());
    EXPECT_EQ(-1, switchVlanConfigure(engine, 37, &cfg));
}

} // namespace
