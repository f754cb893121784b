// What a fresh start would give against what is there: every kind of difference, in words,
// with what mends it; and what of a gateway is read for it.
#include "gateway.h"

#include "client/base/failure.h"
#include "client/base/wire.h"
#include "client/check/idle_command.h"
#include "client/devices/bridge/bridge_device.h"
#include "client/devices/chip/chip.h"
#include "client/devices/engine/engine.h"
#include "client/gateway/devices.h"
#include "client/plan/plans.h"
#include "client/records/history.h"
#include "client/records/journal.h"
#include "client/service/service.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>

using namespace std::string_literals;

namespace swctl::test {
namespace {

// What a start gives, and a gateway that has it.
struct Sides {
    Sides();

    Target target;
    Actual actual;
    std::shared_ptr<ChipState> chip = std::make_shared<ChipState>();
    std::shared_ptr<ChipState> heldChip = std::make_shared<ChipState>();
    std::shared_ptr<BridgeState> bridge = std::make_shared<BridgeState>();
    std::shared_ptr<BridgeState> heldBridge = std::make_shared<BridgeState>();
    std::shared_ptr<EngineLog> engine = std::make_shared<EngineLog>();
};

// VLAN 10 on ports 0 and 1, the latter untagged; a sub-interface; a bridge of one port.
Sides::Sides()
{
    chip->run = true;
    chip->chip.vlans[10] = {0x03, 0x02};
    chip->chip.ports[1].pvid = 10;
    chip->takesUntagged[1] = true;
    SubInterface sub{"eth0", 10, true, {}, {}};
    for (uint8_t i = 0; i < 8; ++i)
        sub.ingress[i] = sub.egress[i] = i;
    target.kernel.interfaces["eth0.10"] = sub;
    bridge->bridge.name = "br0";
    bridge->bridge.filtering = bridge->bridge.snooping = true;
    bridge->bridge.links = {{"br0", {"", true}}, {"lan1", {"br0", true}}};
    bridge->bridge.vlans[10] = {{"br0", Tagging::tagged}, {"lan1", Tagging::untagged}};
    target.vlanIds = {10, 20};
    heldChip->chip = chip->chip;
    heldBridge->bridge = bridge->bridge;
    heldChip->ids = heldBridge->ids = {10, 20, 30};
    target.devices[chipDevice()] = chip;
    target.devices[engineDevice()] = std::make_shared<EngineState>();
    target.devices[bridgeDevice()] = bridge;
    actual.devices[chipDevice()].held = heldChip;
    actual.devices[engineDevice()].held = engine;
    actual.devices[bridgeDevice()].held = heldBridge;
    actual.kernel.held = target.kernel;
}

// "kind vlan/port/rows: text -> command", in the order in which they come.
std::string text(const std::vector<Difference> &all)
{
    std::string lines;
    for (const Difference &one : all)
        lines += (lines.empty() ? "" : "; ") + one.key() + (one.counts ? "" : " idle") +
                 (one.inRows ? "" : " alone") + ": " + one.text() + " -> " + one.mend();
    return lines;
}

TEST(Difference, isToldOfEveryPartThatWasRead)
{
    struct Case {
        std::function<void(Sides &)> make;
        std::string text;
    };
    const std::string repairs = " -> swctl repair", restarts = " -> restart the service";
    const Case cases[] = {
        {[](Sides &) {}, ""},
        {[](Sides &s) {
             s.heldChip->chip.vlans[10] = {0x07, 0x02};
         },
         "chip-entry: VLAN 10 in the chip: 0T 1U 2T, should be 0T 1U" + repairs},
        {[](Sides &s) {
             s.heldChip->chip.vlans[10] = {0x03, 0x06};
         },
         "chip-entry: VLAN 10 in the chip: 0T 1U 2u, should be 0T 1U" + repairs},
        {[](Sides &s) { s.heldChip->chip.vlans.clear(); },
         "chip-entry: VLAN 10 in the chip: -, should be 0T 1U" + repairs},
        {[](Sides &s) {
             s.heldChip->chip.vlans[30] = {0x01, 0};
         },
         "chip-entry alone: VLAN 30 in the chip: 0T, should be -" + repairs},
        {[](Sides &s) {
             s.heldChip->chip.vlans[40] = {0x01, 0};
         },
         ""},
        {[](Sides &s) { s.heldChip->chip.vlans[30] = {}; }, ""},
        {[](Sides &s) { s.heldChip->chip.ports[1].pvid = 20; },
         "default-tag: port 1 default tag: 20, should be 10" + repairs},
        {[](Sides &s) { s.heldChip->chip.ports[4].pvid = 20; },
         "default-tag idle alone: port 4 default tag: 20, should be 0 (no effect: the port is "
         "untagged in no VLAN)" +
             repairs},
        {[](Sides &s) {
             s.chip->run = false;
             s.heldChip->chip.ports[1].pvid = 20;
         },
         ""},
        {[](Sides &s) {
             for (const Device *device : devices())
                 s.actual.devices[*device].held = nullptr;
             s.actual.kernel.held.reset();
         },
         ""},
        {[](Sides &s) { s.actual.kernel.held->interfaces.clear(); },
         "sub-interface: eth0.10: missing, should be up" + repairs},
        {[](Sides &s) { s.actual.kernel.held->interfaces["eth0.10"].up = false; },
         "sub-interface: eth0.10: down, should be up" + repairs},
        {[](Sides &s) { s.actual.kernel.held->interfaces["eth0.10"].ingress[7] = 0; },
         "sub-interface: eth0.10: up, ingress priorities not mapped, should be up" + repairs},
        {[](Sides &s) { s.actual.kernel.held->interfaces["eth0.10"].egress[1] = 0; },
         "sub-interface: eth0.10: up, egress priorities not mapped, should be up" + repairs},
        {[](Sides &s) {
             s.actual.kernel.held->interfaces["eth1.30"] =
                 s.actual.kernel.held->interfaces["eth0.10"];
             s.actual.kernel.held->interfaces["eth1.30"].vlanId = 30;
             s.actual.kernel.held->interfaces["eth1.30"].parent = "eth\x1b";
         },
         "sub-interface alone: eth\\x1b.30: up, should be none" + repairs},
        {[](Sides &s) {
             s.engine->failed[20] = {"vlan_table_func 1 returned 1", "arl returned 2"};
         },
         "engine-entry: VLAN 20 in the engine: failed: vlan_table_func 1 returned 1" + repairs +
             "; engine-entry: VLAN 20 in the engine: failed: arl returned 2" + repairs},
        {[](Sides &s) { s.heldBridge->bridge.vlans[10]["lan1"] = Tagging::tagged; },
         "bridge-entry: VLAN 10 in the bridge: br0, lan1 T, should be br0, lan1 U" + repairs},
        {[](Sides &s) { s.heldBridge->bridge.vlans.erase(10); },
         "bridge-entry: VLAN 10 in the bridge: -, should be br0, lan1 U" + repairs},
        {[](Sides &s) {
             s.heldBridge->bridge.vlans[40] = {{"lan1", Tagging::tagged}};
         },
         ""},
        {[](Sides &s) {
             s.heldBridge->bridge.vlans[30] = {{"lan1", Tagging::tagged}};
         },
         "bridge-entry alone: VLAN 30 in the bridge: lan1 T, should be -" + repairs},
        {[](Sides &s) { s.heldBridge->bridge.links["lan1"].up = false; },
         "bridge-link alone: lan1: in br0, down, should be in br0, up" + restarts},
        {[](Sides &s) {
             s.heldBridge->bridge.links["lan1"].master = "";
             s.heldBridge->bridge.vlans.erase(10);
         },
         "bridge-link alone: lan1: in no bridge, up, should be in br0, up" + restarts +
             "; bridge-entry: VLAN 10 in the bridge: -, should be br0, lan1 U" + restarts},
        {[](Sides &s) { s.heldBridge->bridge.links.erase("lan1"); },
         "bridge-link alone: lan1: missing, should be in br0, up -> create the interface lan1, then "
         "restart the service"},
        {[](Sides &s) { s.heldBridge->bridge.filtering = false; }, ""}, // a setting
        {[](Sides &s) {
             s.bridge->bridge = {};
             s.heldBridge->bridge.vlans.clear();
         },
         ""},
        {[](Sides &s) {
             s.target.stopped.emplace();
             s.heldChip->chip.vlans.clear();
             s.actual.kernel.held->interfaces.clear();
         },
         "chip-entry: VLAN 10 in the chip: -, should be 0T 1U -> fix the row at which a start "
         "stops; 'swctl check' names it; sub-interface: eth0.10: missing, should be up -> fix "
         "the row at which a start stops; 'swctl check' names it"},
        {[](Sides &s) {
             s.heldChip->chip.vlans[30] = {0x01, 0};
             s.heldChip->chip.vlans[20] = {0x01, 0};
             s.actual.kernel.held->interfaces.clear();
         },
         "sub-interface: eth0.10: missing, should be up" + repairs +
             "; chip-entry: VLAN 20 in the chip: 0T, should be -" + repairs +
             "; chip-entry alone: VLAN 30 in the chip: 0T, should be -" + repairs},
    };
    for (const Case &one : cases) {
        Sides sides;
        one.make(sides);
        EXPECT_EQ(text(differences(sides.target, sides.actual)), one.text);
    }
}

TEST(Difference, isTheSameOnlyInEveryPart)
{
    Difference one;
    one.vlanId = 10;
    one.wanted = "a";
    EXPECT_TRUE(one.sameAs(one));
    const std::function<void(Difference &)> changes[] = {
        [](Difference &d) { d.kind = DifferenceKind::setting; },
        [](Difference &d) { d.vlanId = 11; },
        [](Difference &d) { d.port = 1; },
        [](Difference &d) { d.wanted = "b"; },
        [](Difference &d) { d.found = "b"; },
        [](Difference &d) { d.parent = "eth0"; },
        [](Difference &d) { d.part = "chip"; },
    };
    for (const auto &change : changes) {
        Difference other = one;
        change(other);
        EXPECT_FALSE(one.sameAs(other));
    }
    Difference quiet = one;
    quiet.counts = false;
    quiet.remedy = Remedy::restart;
    EXPECT_TRUE(one.sameAs(quiet));
}

struct View : Played {
    GatewayView gateway = view();
    Database &database = gateway.database();

    Actual read(const std::set<int> &ids, GatewayView::Extent extent)
    {
        Snapshot snapshot(database);
        return gateway.read(snapshot, targetOfStart(gateway, snapshot), ids, extent);
    }
    std::string differing()
    {
        Snapshot snapshot(database);
        const Target target = targetOfStart(gateway, snapshot);
        return text(
            differences(target, gateway.read(snapshot, target, {}, GatewayView::Extent::whole)));
    }
};

TEST_F(View, ofAFreshStartHoldsWhatTheRowsSay)
{
    startChip();
    Snapshot snapshot(database);
    Target target = targetOfStart(gateway, snapshot);
    EXPECT_EQ(target.vlanIds, (std::set<int>{10, 20, 30}));
    const auto &wanted = static_cast<const ChipState &>(target.of(chipDevice()));
    EXPECT_EQ(wanted.vlanText(10), "0T 1U 4T");
    EXPECT_EQ(wanted.vlanIds().size(), 3u);
    EXPECT_EQ(wanted.defaultTag({1, ""}), 10);
    EXPECT_EQ(wanted.defaultTag({2, ""}), 20);
    EXPECT_EQ(wanted.takesUntagged, (std::array{false, true, true, false, false}));
    EXPECT_TRUE(wanted.run);
    EXPECT_TRUE(target.kernel.interfaces.at("eth1.30").up);
    EXPECT_EQ(target.kernel.interfaces.size(), 3u);
    EXPECT_EQ(target.of(bridgeDevice()).label(), "");
    EXPECT_FALSE(target.stopped);
    EXPECT_GE(target.loadStatus, 0);
    sql("UPDATE vlanEncapIf SET interfaceName = '" + std::string(70, 'x') + "' WHERE rowid = 2");
    Snapshot longer(database);
    target = targetOfStart(gateway, longer);
    ASSERT_TRUE(target.stopped);
    EXPECT_EQ(target.stopped->table, "vlanEncapIf");
    EXPECT_EQ(target.stopped->row, 1);
    EXPECT_LT(target.loadStatus, 0);
    sql("DELETE FROM swGlobalCfg WHERE switchName = 'BCM'");
    Snapshot without(database);
    const Target chipless = targetOfStart(gateway, without);
    EXPECT_FALSE(static_cast<const ChipState &>(chipless.of(chipDevice())).run);
    EXPECT_FALSE(nodeOf(database, chipDevice()));
}

TEST_F(View, readsTheEntriesThatAreAskedFor)
{
    startChip();
    restart();
    setInterface(50, "eth0");
    setEntry(50, 1, 0);
    setEntry(60, 1, 0);
    setEntry(70, 1, 0);
    History(databaseFile())
        .add(1, "applied",
             planRow(database, RowWish{RowWish::Kind::add,
                                       "vlanEncapIf",
                                       "VLAN 50",
                                       {{"vlanId", int64_t{50}}},
                                       {{"interfaceName", "eth0"s}}}),
             false);
    const Actual whole = read({60, 0, 4095, -1}, GatewayView::Extent::whole);
    const auto chipIn = [](const Actual &actual) -> const ChipState & {
        return static_cast<const ChipState &>(*actual.of(chipDevice()).held);
    };
    EXPECT_EQ(chipIn(whole).ids, (std::set<int>{10, 20, 30, 50, 60}));
    EXPECT_EQ(chipIn(whole).vlanIds().size(), 5u);
    const Actual touched = read({60}, GatewayView::Extent::touched);
    EXPECT_EQ(chipIn(touched).ids, (std::set<int>{50, 60}));
    EXPECT_EQ(touched.kernel.held.value().interfaces.size(), 4u);
    EXPECT_TRUE(touched.foreign.empty());
    EXPECT_TRUE(touched.of(bridgeDevice()).held);
    EXPECT_EQ(
        differing(),
        "chip-entry alone: VLAN 50 in the chip: 0T, should be - -> swctl repair; "
        "sub-interface alone: eth0.50: up, ingress priorities not mapped, egress priorities not "
        "mapped, should be none -> swctl repair");
}

TEST_F(View, leavesTheSubInterfacesOfOthersAlone)
{
    startChip();
    restart();
    const auto foreign = [this] {
        std::string names;
        for (const auto &[name, sub] : read({}, GatewayView::Extent::whole).foreign)
            names += name + " ";
        return names;
    };
    const auto change = [this](int64_t id, bool comes) {
        Row row;
        row.set({"vlanId", id});
        row.set({"interfaceName", "eth5"s});
        return ChangeSet{"",
                         "",
                         {comes ? RowChange{"vlanEncapIf", std::nullopt, row}
                                : RowChange{"vlanEncapIf", row, std::nullopt}},
                         {}};
    };
    for (const int id : {50, 51, 52, 53, 54, 55})
        setInterface(id, "eth5");
    EXPECT_EQ(foreign(), "eth5.50 eth5.51 eth5.52 eth5.53 eth5.54 eth5.55 ");
    History history(databaseFile());
    history.add(1, "refused", change(55, true), true);
    EXPECT_EQ(foreign(), "eth5.50 eth5.51 eth5.52 eth5.53 eth5.54 eth5.55 ");
    history.add(1, "applied", change(51, true), true);
    history.add(2, "applied", change(52, true), true);
    history.add(3, "applied", change(52, false), true); // seen to be gone
    history.add(4, "applied", change(53, false), false);
    Journal(databaseFile()).begin(change(54, true));
    EXPECT_EQ(foreign(), "eth5.50 eth5.52 eth5.55 ");
    write("uptime/VLAN.50.Uptime", "");
    EXPECT_EQ(foreign(), "eth5.52 eth5.55 ");
    write("switch.db.change", "nonsense");
    EXPECT_EQ(foreign(), "eth5.52 eth5.54 eth5.55 ");
    EXPECT_TRUE(read({}, GatewayView::Extent::whole).kernel.held->interfaces.contains("eth5.50"));
}

TEST_F(View, knowsOfTheEnginesToolsWhatTheLogSays)
{
    startChip();
    restart();
    const auto tools = [this] { return read({}, GatewayView::Extent::touched).tools; };
    EXPECT_FALSE(tools().held);
    startLog();
    serve();
    EXPECT_TRUE(tools().held.value().ofVlans.empty());
    said.emplace_back("cmd (vconfig add eth0 20) returned (3).");
    said.emplace_back("cmd (tc_func 1) returned (1).");
    const FailedTools failed = tools().held.value();
    EXPECT_EQ(failed.others.size() + failed.ofVlans.size(), 2u);
    EXPECT_EQ(failed.others.back(), "tc_func 1 returned 1");
    endService();
    EXPECT_HAS(tools().reason, "the service does not answer");
    EXPECT_HAS(read({}, GatewayView::Extent::touched).of(engineDevice()).reason,
               "the service does not answer");
}

// The bridge is one of Linux, whose tools are played.
TEST_F(View, ofABridgeComparesWhatItsToolsSay)
{
    write("site.json", R"({"interfaces": {"br0": "02:00:00:00:00:01", "lan1": "02:00:00:00:00:10",
        "lan2": "02:00:00:00:00:11"}})");
    sql("DELETE FROM swGlobalCfg; DELETE FROM swPortConfig; DELETE FROM vlanEncapIf;INSERT INTO "
        "swGlobalCfg (switchName, switchDevice, switchLevel, vlanEnable) VALUES ('BRIDGE', "
        "'br0', 1, 1);INSERT INTO swPortConfig (switchName, portNumber, interfaceName) VALUES "
        "('BRIDGE', 1, 'lan1'), ('BRIDGE', 2, 'lan2');INSERT INTO vlanEncapIf (vlanId, fwdMap, "
        "untagMap, inSwitchOnly) VALUES (10, '1,2', '2', 1), (20, '1', NULL, 1)");
    const std::string old = getenv("PATH");
    setenv("PATH", (folder + ":" + old).c_str(), 1);
    const auto tool = [this](const std::string &name, const std::string &says) {
        write(name, "#!/bin/sh\necho '" + says + "'\n");
        chmod(file(name).c_str(), 0700);
    };
    const std::string br0 = R"({"ifname":"br0","flags":["UP"],"linkinfo":{"info_kind":"bridge",)"
                            R"("info_data":{"vlan_filtering":1}}})";
    const std::string lan1 = R"({"ifname":"lan1","master":"br0","flags":["UP"]})";
    const std::string lan2 = R"({"ifname":"lan2","master":"br0","flags":["UP"]})";
    const std::string soundVlans =
        R"({"ifname":"lan1","vlans":[{"vlan":10},{"vlan":20}]},)"
        R"({"ifname":"lan2","vlans":[{"vlan":10,"flags":["PVID","Egress Untagged"]}]})";
    struct Case {
        std::string links, vlans, text;
    };
    const Case cases[] = {
        {br0 + "," + lan1 + "," + lan2, soundVlans, ""},
        {br0 + "," + lan1, R"({"ifname":"lan1","vlans":[{"vlan":10},{"vlan":20}]})",
         "bridge-link alone: lan2: missing, should be in br0, up -> create the interface lan2, then "
         "restart the service; bridge-entry: VLAN 10 in the bridge: lan1 T, "
         "should be lan1 T, lan2 U -> restart the service"},
        {br0 + "," + lan1 + R"(,{"ifname":"lan2","master":"br0","flags":[]})", soundVlans,
         "bridge-link alone: lan2: in br0, down, should be in br0, up -> restart the service"},
        {br0 + "," + lan1 + "," + lan2,
         R"({"ifname":"lan1","vlans":[{"vlan":9,"vlanEnd":11},{"vlan":20}]},)"
         R"({"ifname":"lan2","vlans":[{"vlan":10,"flags":["PVID"]}]})",
         "bridge-entry alone: VLAN 9 in the bridge: lan1 T, should be - -> swctl repair; "
         "bridge-entry: VLAN 10 in the bridge: lan1 T, lan2 p, should be lan1 T, lan2 U -> swctl "
         "repair; bridge-entry alone: VLAN 11 in the bridge: lan1 T, should be - -> swctl repair"},
    };
    for (const Case &one : cases) {
        tool("ip", "[" + one.links + "]");
        tool("bridge", "[" + one.vlans + "]");
        gateway = view();
        EXPECT_EQ(differing(), one.text);
    }
    tool("bridge", "nonsense");
    const DeviceReading reading = read({}, GatewayView::Extent::whole).of(bridgeDevice());
    EXPECT_FALSE(reading.held);
    EXPECT_NE(reading.reason, "");
    setenv("PATH", old.c_str(), 1);
}

// Held against the library itself, in a rehearsal: what no device lists, nothing acts on.
TEST_F(View, ofADeviceListsTheCommandsThatItCarriesOut)
{
    startChip();
    const int32_t one = 1;
    const std::string_view on = bytesOf(one), byte = "\1";
    const SwCmdQueueSched queues{1, 4, 1, 1, 1, 1, 1};
    const SwCmdRateLimit rate{1, SW_RATE_LIMIT_APPLY, {}, 1024};
    const SwCmdTrustMode trust{1, SW_TRUST_MODE_FLAG_1};
    const std::pair<int, std::string_view> commands[] = {{SW_CMD_VLAN_ENABLE, on},
                                                         {SW_CMD_QOS_ENABLE, on},
                                                         {SW_CMD_QUEUE_SCHED, bytesOf(queues)},
                                                         {SW_CMD_PAUSE_FRAME, on},
                                                         {SW_CMD_RATE_LIMIT, bytesOf(rate)},
                                                         {SW_CMD_TRUST_MODE, bytesOf(trust)},
                                                         {SW_CMD_IGMP_SNOOP, byte},
                                                         {SW_CMD_MLD_SNOOP, byte}};
    for (const Device *each : devices()) {
        const std::string name = each->name;
        sql("DELETE FROM swGlobalCfg; DELETE FROM swPortConfig; DELETE FROM vlanEncapIf;"
            "INSERT INTO swGlobalCfg (switchName, switchDevice, switchLevel) VALUES ('" +
            name + "', '" + (each->portsAreInterfaces ? "br0" : "/dev/bcmsw") +
            "', 1); INSERT INTO swPortConfig (switchName, portNumber, interfaceName)"
            " VALUES ('" +
            name + "', 1, 'eth0')");
        for (const auto &[command, payload] : commands) {
            SCOPED_TRACE(name + " " + std::to_string(command));
            std::string refused;
            try {
                refuseIdleCommand(gateway, name, command, switchRequest(name, payload));
            } catch (const Failure &failure) {
                refused = failure.what();
            }
            const bool listed = std::find(each->commands.begin(), each->commands.end(), command) !=
                                each->commands.end();
            EXPECT_EQ(refused.empty(), listed) << refused;
        }
    }
    try {
        refuseIdleCommand(gateway, "BRIDGE", SW_CMD_QOS_ENABLE, switchRequest("BRIDGE", on));
        FAIL();
    } catch (const Failure &failure) {
        EXPECT_HAS(failure.what(), "has a handler for it; PSE has one;");
    }
}

TEST_F(View, findsItsSiteAndRefusesWhatIsNone)
{
    write("other.json", R"({"devices": {"/dev/x": "x.sock", "/dev/y": "/abs"}, "uptime": "u"})");
    const Site given = findSite(databaseFile(), file("other.json"));
    EXPECT_EQ(given.devicePath("/dev/x"), file("x.sock"));
    EXPECT_EQ(given.devicePath("/dev/y"), "/abs");
    EXPECT_EQ(given.devicePath("/dev/z"), "/dev/z");
    EXPECT_EQ(given.uptimeFolder, file("u"));
    EXPECT_EQ(given.engineState, "");
    EXPECT_FALSE(given.interfaces);
    setenv("SWMGR_SITE", file("other.json").c_str(), 1);
    EXPECT_EQ(findSite(databaseFile(), "").uptimeFolder, file("u"));
    EXPECT_EQ(findSite(databaseFile(), file("site.json")).uptimeFolder, file("uptime"));
    unsetenv("SWMGR_SITE");
    const Site beside = findSite(databaseFile(), "");
    EXPECT_EQ(beside.engineState, file("state"));
    EXPECT_EQ(interfacesOf(beside).at("eth1"), (HardwareAddress{2, 0, 0, 0, 0, 0x11}));
    setenv("RELAY_DIR", (folder + "/relay//").c_str(), 1);
    EXPECT_EQ(findSite("/nowhere/x.db", "").engineState, file("state"));
    unsetenv("RELAY_DIR");
    EXPECT_EQ(findSite("/nowhere/x.db", "").engineState, "");
    EXPECT_TRUE(interfacesOf(Site{}).contains("lo"));
    EXPECT_THROW(findSite("", file("none.json")), Failure);
    const auto taken = [this](const std::string &text) {
        write("t.json", text);
        try {
            findSite("", file("t.json"));
            return true;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.status, exitUsage);
            return false;
        }
    };
    const auto many = [](size_t count) {
        std::string all;
        for (size_t i = 0; i < count; ++i)
            all += (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\":\"x\"";
        return R"({"devices":{)" + all + "}}";
    };
    const auto named = [](const std::string &name, const std::string &address) {
        return R"({"interfaces":{")" + name + R"(":")" + address + R"("}})";
    };
    const std::string address = "02:00:00:00:00:aF";
    const std::pair<std::string, bool> cases[] = {
        {"{}", true},
        {"[]", false},
        {R"({"device":{}})", false},
        {R"({"engineState":""})", false},
        {R"({"engineState":1})", false},
        {R"({"uptime":"a\u0000b"})", false},
        {R"({"uptime":")" + std::string(4095, 'x') + "\"}", true},
        {R"({"uptime":")" + std::string(4096, 'x') + "\"}", false},
        {many(64), true},
        {many(65), false},
        {named("eth0", address), true},
        {named("", address), false},
        {named(std::string(15, 'x'), address), true},
        {named(std::string(16, 'x'), address), false},
        {named("a/b", address), false},
        {named("eth0", address + "0"), false},
        {named("eth0", "02:00:00:00:00:a"), false},
        {named("eth0", "02-00:00:00:00:00"), false},
        {named("eth0", "0g:00:00:00:00:00"), false},
        {named("eth0", "02:00:00:00:00:0g"), false},
    };
    for (const auto &[text, good] : cases)
        EXPECT_EQ(taken(text), good) << text.substr(0, 60);
}

} // namespace
} // namespace swctl::test
