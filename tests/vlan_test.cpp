// VLAN objects of a switch, on a backend that records its commands.
#include "support/fixture.h"

#include "switch/registry.h"
#include "vlan/vlan.h"

namespace {

std::string sentCommands;
int failingCommand = 0;

int backend(Switch *sw, int cmd, const void *payload, uint32_t length, void *replyBuf,
            uint32_t *replyLen)
{
    EXPECT_EQ(nullptr, replyBuf);
    EXPECT_EQ(0u, *replyLen);
    sentCommands += std::to_string(cmd);
    if (payload == nullptr) {
        EXPECT_EQ(140u, length);
    } else {
        EXPECT_EQ(1312u, length);
        const auto &vlan = *static_cast<const SwitchVlan *>(payload);
        EXPECT_EQ(sw, vlan.ownerSwitch);
        sentCommands += ":" + std::to_string(vlan.vlanId) + "/" + std::to_string(vlan.fwdMap);
    }
    sentCommands += sw->lowerLvlCfgEnable != 0 ? "+ " : " ";
    return cmd == failingCommand ? -9 : 1;
}

struct Vlans : testing::Test {
    Vlans()
    {
        strcpy(sw.switchName, "SW");
        sw.configFunc = backend;
        sw.lowerLvlCfgEnable = 1;
        salListInit(&sw.vlanList);
    }
    int create(int id, uint32_t fwdMap = 6, int inSwitchOnly = 0)
    {
        SwitchVlan image = imageOf(id, fwdMap, inSwitchOnly);
        return switchVlanCreate(&sw, &image);
    }
    SwitchVlan imageOf(int id, uint32_t fwdMap, int inSwitchOnly)
    {
        SwitchVlan image{};
        image.vlanId = id;
        image.fwdMap = fwdMap;
        image.untagMap = fwdMap;
        image.inSwitchOnly = inSwitchOnly;
        image.ownerSwitch = &sw;
        snprintf(image.vlanName, sizeof(image.vlanName), "v%d", id);
        return image;
    }
    std::string taken() { return std::exchange(sentCommands, ""); }
    std::string ids()
    {
        std::string text;
        for (auto *link = salListFirst(&sw.vlanList); link != nullptr; link = salListNext(link))
            text += std::to_string(reinterpret_cast<SwitchVlan *>(link)->vlanId) + " ";
        return text;
    }
    Switch sw{};
};

TEST_F(Vlans, commandsGoOutInTheirOrder)
{
    EXPECT_EQ(0, create(10));
    EXPECT_EQ("34:10/6+ 41+ 35:10/6+ ", taken());
    EXPECT_EQ(0, create(20, 2, 1));
    EXPECT_EQ("34:20/2+ 58:20/2+ 41+ 35:20/2+ ", taken());
    EXPECT_EQ(0, switchVlanCfgApply(&sw, nullptr));
    EXPECT_EQ("41+ 35:10/6+ 35:20/2+ ", taken());
    EXPECT_EQ(0, switchVlanCfgApply(&sw, switchVlanByIdGet(&sw, 10)));
    EXPECT_EQ("41+ 35:10/6+ ", taken());
    SwitchVlan image = imageOf(30, 1, 1);
    EXPECT_EQ(0, switchVlanUpdate(switchVlanByIdGet(&sw, 10), &image));
    EXPECT_EQ("34:30/1+ 58:30/1+ 41+ 35:30/1+ ", taken());
    image = imageOf(31, 3, 0);
    EXPECT_EQ(0, switchVlanUpdate(switchVlanByIdGet(&sw, 30), &image));
    EXPECT_EQ("59:30/1+ 34:31/3+ 41+ 35:31/3+ ", taken());
    EXPECT_EQ("20 31 ", ids());
    platform::everything();
    EXPECT_EQ(0, switchVlanDelete(switchVlanByIdGet(&sw, 20)));
    EXPECT_EQ("59:20/2+ 34:20/0 35:20/0 41+ 35:20/0+ ", taken());
    EXPECT_EQ("31 ", ids());
    EXPECT_LINES(platform::everything(), R"(
log 8 Disabling Vlan20 in SW\n
log 128 (switch=SW) (vlan:20) Applying VLAN Configuration.\n
)");
    sw.lowerLvlCfgEnable = 0;
    EXPECT_EQ(0, switchAllVlansDisable(&sw));
    EXPECT_EQ("34:31/0 35:31/0 ", taken());
    EXPECT_EQ(1, sw.lowerLvlCfgEnable);
    EXPECT_EQ(0u, switchVlanByIdGet(&sw, 31)->untagMap);
}

TEST_F(Vlans, anIdIsUniqueAndNamesAreExact)
{
    create(10);
    taken();
    platform::everything();
    EXPECT_EQ(-22, create(10, 1));
    EXPECT_EQ("", taken());
    EXPECT_EQ("8 (switch=SW) This VLAN Id is already exists \\n\n", platform::log());
    EXPECT_EQ(6u, switchVlanByIdGet(&sw, 10)->fwdMap);
    EXPECT_EQ(10, switchVlanByNameGet(&sw, "v10")->vlanId);
    EXPECT_EQ(nullptr, switchVlanByNameGet(&sw, "V10"));
}

TEST_F(Vlans, portVlanCommandsAreForVlansInsideTheSwitch)
{
    SwitchVlan outside = imageOf(4, 1, 0), inside = imageOf(5, 1, 1);
    failingCommand = 59;
    EXPECT_EQ(0, switchPortVlanConfigure(&outside, 99));
    EXPECT_EQ(-1, switchPortVlanConfigure(&inside, 37));
    EXPECT_EQ(0, switchPortVlanConfigure(&inside, 36));
    EXPECT_EQ(-1, switchPortVlanConfigure(&inside, 38));
    EXPECT_EQ("58:5/1+ 59:5/1+ ", taken());
}

// For each operation on VLAN 10 (kept inside the switch, 20 beside it): the
// command that fails, the result, what was sent, the list and the messages.
TEST_F(Vlans, aFailingCommandEndsTheOperationAndSaysSo)
{
    const std::string applying = "128 (switch=SW) (vlan:10) Applying VLAN Configuration.\\n\n";
    const std::string ports = "8 Failed to configure port-1 in SW\\n\n"
                              "8 Failed to configure ports in SW\\n\n"
                              "8 (switch=SW) Failed to apply switch vlan configuration \\n\n";
    const std::string update =
        "8 (switch=SW) (vlan:10) Failed to update vlan10 membership in SW\\n\n";
    const std::string initial =
        update + "8 (switch=SW) Failed to configure initial configuration of vlan.\\n\n";
    const std::string apply = applying +
                              "8 Failed to apply configuration in SW\\n\n"
                              "8 (switch=SW) Failed to apply switch vlan configuration \\n\n";
    const std::string updated = "64 (switch=SW) updated membership of vlan ID=10\\n\n";
    const std::string disabling = "8 Disabling Vlan10 in SW\\n\n";
    const std::string inSw =
        "membership in SW for ID=10\\n\n8 Failed to disable VLAN in switch \\n\n";
    const struct {
        char operation; // create, update, delete
        int failing, result;
        const char *sent, *ids;
        std::string log;
    } cases[] = {
        {'c', 34, -9, "34:10/7+ ", "20 ", initial},
        {'c', 41, -9, "34:10/7+ 58:10/7+ 41+ ", "20 ", ports},
        {'c', 35, -9, "34:10/7+ 58:10/7+ 41+ 35:10/7+ ", "20 ", apply},
        {'c', 58, 0, "34:10/7+ 58:10/7+ 41+ 35:10/7+ ", "20 10 ",
         "8 (switch=SW) (vlan:10) Failed to configure port vlan for ID=10\\n\n" + applying},
        {'u', 34, -9, "59:10/6+ 34:10/7+ ", "10 20 ", initial},
        {'u', 41, -9, "59:10/6+ 34:10/7+ 58:10/7+ 41+ ", "20 10 ", updated + ports},
        {'u', 35, -9, "59:10/6+ 34:10/7+ 58:10/7+ 41+ 35:10/7+ ", "20 10 ", updated + apply},
        {'d', 34, -9, "59:10/6+ 34:10/0 ", "10 20 ",
         disabling + update + "8 Failed to update vlan " + inSw},
        {'d', 35, -9, "59:10/6+ 34:10/0 35:10/0 ", "10 20 ",
         disabling + "8 Failed to configure vlan " + inSw},
        {'d', 41, -9, "59:10/6+ 34:10/0 35:10/0 41+ ", "10 20 ", disabling + ports},
    };
    for (const auto &c : cases) {
        failingCommand = 0;
        salListInit(&sw.vlanList);
        if (c.operation != 'c')
            create(10, 6, 1);
        create(20);
        taken();
        platform::everything();
        failingCommand = c.failing;
        SwitchVlan image = imageOf(10, 7, 1);
        SwitchVlan *vlan = switchVlanByIdGet(&sw, 10);
        const int result = c.operation == 'c'   ? switchVlanCreate(&sw, &image)
                           : c.operation == 'u' ? switchVlanUpdate(vlan, &image)
                                                : switchVlanDelete(vlan);
        const std::string title = std::string(1, c.operation) + std::to_string(c.failing);
        EXPECT_EQ(c.result, result) << title;
        EXPECT_EQ(c.sent, taken()) << title;
        EXPECT_EQ(c.ids, ids()) << title;
        EXPECT_EQ(c.log, platform::log()) << title;
        EXPECT_EQ(1, sw.lowerLvlCfgEnable) << title;
    }
}

} // namespace
