// The library called on objects that a program built itself: it lays them out as declared,
// lists them, changes and removes them without telling anybody. What reaches the hardware
// and what the objects hold afterwards is compared with an account kept here.
#include "support/guarded.h"
#include "support/platform.h"

#include "backends/backends.h"
#include "backends/bcm/bcm.h"
#include "backends/bcm/device.h"
#include "backends/bcm/ports.h"
#include "backends/bcm/vlan.h"
#include "backends/pse/lower.h"
#include "backends/pse/pse.h"
#include "base/state.h"
#include "config/vlan_config.h"
#include "service/dispatch.h"
#include "switch/port.h"
#include "switch/port_mapping.h"
#include "switch/registry.h"
#include "vlan/vlan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <sstream>

namespace {

// The layout as a program of its own would declare it.
struct Link {
    void *next, *prev;
};
struct Head {
    void *first, *last;
};
struct OwnSwitch {
    Link link;
    uint32_t index;
    char name[512], device[512];
    int32_t qos, vlan, pause, igmp, mld, ports, level, forwards;
    SwitchConfigFunc config;
    SwitchConfTransferFunc transfer;
    Head lower, portList, vlanList;
};
struct OwnPort {
    Link link;
    uint32_t index;
    int32_t number;
    OwnSwitch *owner;
    int32_t pvid, untaggedNowhere, type;
    char interface[64];
    int32_t trust, mirroring;
    Head mapped;
    int32_t rate, sched, queues, weights[4];
};
struct OwnVlan {
    Link link;
    int32_t id, index;
    char name[128], interface[64], logical[64], ingress[512], egress[512];
    uint32_t members, untagged;
    int32_t inside;
    OwnSwitch *owner;
};

struct OwnNode {
    Link link;
    void *target; // a port in a list of mapped ports, a switch in one of lower switches
};

// What the account holds of a listed VLAN.
struct Kept {
    OwnVlan *object;
    int32_t id;
    uint32_t members, untagged;
    int32_t inside;
    std::string interface;
};
struct KeptPort {
    OwnPort *object;
    int32_t number, pvid, untaggedNowhere;
};

std::string hex(uint32_t value, int bytes)
{
    char text[9];
    std::string out;
    for (int i = 0; i < bytes; ++i, value >>= 8) {
        snprintf(text, sizeof(text), "%02x", value & 0xff);
        out += text;
    }
    return out;
}

std::string hardware()
{
    std::string kept;
    std::istringstream lines(platform::everything());
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("log "))
            kept += line + "\n";
    return kept;
}

template <class Type, class Own>
Type *as(Own *own)
{
    static_assert(sizeof(Type) == sizeof(Own));
    return reinterpret_cast<Type *>(own);
}
Switch *as(OwnSwitch *own)
{
    return as<Switch>(own);
}
SwitchVlan *as(OwnVlan *own)
{
    return as<SwitchVlan>(own);
}
SalList *as(Head *head)
{
    return reinterpret_cast<SalList *>(head);
}
SalListLink *as(Link *link)
{
    return reinterpret_cast<SalListLink *>(link);
}

OwnSwitch *switchBuild(const char *name, SwitchConfigFunc config)
{
    auto *sw = platform::guarded<OwnSwitch>();
    strcpy(sw->name, name);
    sw->forwards = 1;
    sw->config = config;
    return sw;
}

OwnPort *portBuild(OwnSwitch &owner, int32_t number)
{
    auto *port = platform::guarded<OwnPort>();
    port->number = number;
    port->owner = &owner;
    port->pvid = 1;
    salListNodeAppend(as(&owner.portList), as(&port->link));
    return port;
}

void nodeAppend(Head &list, void *target)
{
    auto *node = platform::guarded<OwnNode>();
    node->target = target;
    salListNodeAppend(as(&list), as(&node->link));
}

// The chip's switch with its ports and VLANs, and the account of them.
class Chip {
public:
    explicit Chip(uint32_t seed, bool developer) : random(seed)
    {
        swMgrDevDebug = developer ? 1 : 0;
        fd = 7;
        for (const int32_t number : {2, 0, 4, 31, 2, 40, -1}) {
            OwnPort *port = portBuild(*sw, number);
            ports.push_back({port, number, 1, 0});
        }
    }
    ~Chip()
    {
        while (!vlans.empty()) {
            platform::guardedDelete(vlans.back().object);
            vlans.pop_back();
        }
        swMgrDevDebug = 0;
    }
    Chip(const Chip &) = delete;
    Chip &operator=(const Chip &) = delete;

    // One operation at random; what reached the hardware is compared, and returned.
    std::string step()
    {
        using Operation = void (Chip::*)();
        static constexpr Operation operations[] = {
            &Chip::append,  &Chip::append,  &Chip::change,   &Chip::change,  &Chip::remove,
            &Chip::lookUp,  &Chip::told,    &Chip::applied,  &Chip::ports41, &Chip::entries35,
            &Chip::created, &Chip::updated, &Chip::disabled, &Chip::deleted, &Chip::allDisabled};
        expected.clear();
        platform::forget();
        (this->*operations[below(std::size(operations))])();
        const std::string happened = hardware();
        EXPECT_EQ(expected, happened);
        compare();
        return happened;
    }

private:
    uint32_t below(size_t end) { return static_cast<uint32_t>(random() % end); }

    uint32_t anyMap()
    {
        return static_cast<uint32_t>(random()) & (below(4) == 0 ? 0xffffffffu : 0x1fu);
    }
    int32_t anyId() { return std::array{1, 10, 10, 20, 4094, 0, -3, 65556}[below(8)]; }

    void fill(OwnVlan &vlan)
    {
        vlan.id = anyId();
        vlan.members = anyMap();
        vlan.untagged = anyMap();
        vlan.inside = below(4) == 0 ? 1 : 0;
        vlan.owner = sw;
        strcpy(vlan.interface, std::array{"eth0", "eth1", "br-x"}[below(3)]);
        strcpy(vlan.name, std::array{"a", "b", ""}[below(3)]);
    }

    static Kept keptOf(OwnVlan *vlan)
    {
        return {vlan, vlan->id, vlan->members, vlan->untagged, vlan->inside, vlan->interface};
    }

    // Without the library's knowledge.
    void append()
    {
        auto *vlan = platform::guarded<OwnVlan>();
        fill(*vlan);
        salListNodeAppend(as(&sw->vlanList), as(&vlan->link));
        vlans.push_back(keptOf(vlan));
    }
    void change()
    {
        if (vlans.empty())
            return;
        Kept &one = vlans[below(vlans.size())];
        fill(*one.object);
        one = keptOf(one.object);
    }
    void remove()
    {
        if (vlans.empty())
            return;
        const auto one = vlans.begin() + below(vlans.size());
        salListNodeRemove(as(&sw->vlanList), as(&one->object->link));
        platform::guardedDelete(one->object);
        vlans.erase(one);
    }

    // What the chip is sent.
    void expectEntry(const Kept &vlan)
    {
        uint32_t members = vlan.members;
        if (members != 0)
            members |= vlan.inside == 0 && vlan.interface == "eth0" ? 1u << 4 : 1u;
        const auto id = static_cast<uint32_t>(vlan.id);
        expected += "ioctl VLAN_CLEAR " + hex(id, 2) + "000000\nioctl VLAN_ENTRY_SET " +
                    hex(id, 2) + hex(members, 2) + hex(vlan.untagged, 2) + "00\n";
    }
    void expectPorts()
    {
        for (KeptPort &port : ports) {
            port.untaggedNowhere = 1;
            for (const Kept &vlan : vlans)
                if (port.number >= 0 && port.number < 32 &&
                    (vlan.untagged >> port.number & 1) == 1) {
                    port.pvid = vlan.id;
                    port.untaggedNowhere = 0;
                }
            const auto number = static_cast<uint32_t>(port.number);
            expected += "ioctl DEFAULT_TAG_SET " + hex(number, 2) +
                        hex(static_cast<uint32_t>(port.pvid), 2) + "0000\n" +
                        "ioctl NON8021Q_FRAMES_SET " + hex(number, 2) +
                        hex(static_cast<uint32_t>(port.untaggedNowhere), 4) + "\n";
        }
    }
    void take(int32_t id, uint32_t members, uint32_t untagged)
    {
        for (Kept &vlan : vlans) {
            if (vlan.id == id) {
                vlan.members = members;
                vlan.untagged = untagged;
            } else {
                vlan.untagged &= untagged ^ 0x1f;
            }
        }
    }
    void disable(int32_t id)
    {
        for (size_t i = 0; i < vlans.size(); ++i)
            if (vlans[i].id == id) {
                vlans[i].members = vlans[i].untagged = 0;
                take(id, 0, 0);
                expectEntry(vlans[i]);
            }
    }

    // Through the library.
    void lookUp()
    {
        const int32_t id = anyId();
        const char *name = std::array{"a", "b", "", "c"}[below(4)];
        const auto byId = std::find_if(
            vlans.begin(), vlans.end(), [&](const Kept &one) { return one.id == id; });
        const auto byName = std::find_if(
            vlans.begin(), vlans.end(),
            [&](const Kept &one) { return strcmp(one.object->name, name) == 0; });
        const auto objectAt = [&](auto at) { return at != vlans.end() ? as(at->object) : nullptr; };
        EXPECT_EQ(objectAt(byId), switchVlanByIdGet(as(sw), id));
        EXPECT_EQ(objectAt(byName), switchVlanByNameGet(as(sw), name));
    }
    void told()
    {
        OwnVlan image{};
        fill(image);
        take(image.id, image.members, image.untagged);
        EXPECT_EQ(0, bcmSwitchConfig(as(sw), SW_CMD_VLAN_MEMBERSHIP_UPDATE, &image, 1312, nullptr,
                                     nullptr));
    }
    void ports41()
    {
        expectPorts();
        EXPECT_EQ(0,
                  bcmSwitchConfig(as(sw), SW_CMD_PORT_CONFIG_SET, nullptr, 140, nullptr, nullptr));
    }
    void entries35()
    {
        for (const Kept &vlan : vlans)
            expectEntry(vlan);
        EXPECT_EQ(0, bcmSwitchConfig(as(sw), SW_CMD_VLAN_MEMBERSHIP_SET, nullptr, 1312, nullptr,
                                     nullptr));
    }
    // All, one that is listed, or one that is in another list.
    void applied()
    {
        OwnVlan *stranger = nullptr;
        OwnVlan *one = nullptr;
        expectPorts();
        if (below(3) == 0) {
            stranger = one = platform::guarded<OwnVlan>();
            fill(*stranger);
            salListNodeAppend(as(&other->vlanList), as(&stranger->link));
        } else if (!vlans.empty() && below(2) == 0) {
            one = vlans[below(vlans.size())].object;
        }
        for (const Kept &vlan : vlans)
            if (one == nullptr || one == vlan.object)
                expectEntry(vlan);
        EXPECT_EQ(0, switchVlanCfgApply(as(sw), as(one)));
        if (stranger == nullptr)
            return;
        salListNodeRemove(as(&other->vlanList), as(&stranger->link));
        platform::guardedDelete(stranger);
    }
    void created()
    {
        OwnVlan image{};
        fill(image);
        image.owner = other;
        const bool known = std::any_of(vlans.begin(), vlans.end(),
                                       [&](const Kept &one) { return one.id == image.id; });
        EXPECT_EQ(known ? -22 : 0, switchVlanCreate(as(sw), as(&image)));
        if (known)
            return;
        take(image.id, image.members, image.untagged);
        vlans.push_back(keptOf(reinterpret_cast<OwnVlan *>(sw->vlanList.last)));
        // One of the test's own takes the place of what the library allocated.
        OwnVlan *made = vlans.back().object;
        EXPECT_EQ(0, memcmp(reinterpret_cast<char *>(made) + offsetof(OwnVlan, id),
                            reinterpret_cast<char *>(&image) + offsetof(OwnVlan, id),
                            offsetof(OwnVlan, owner) - offsetof(OwnVlan, id)));
        EXPECT_EQ(sw, made->owner);
        auto *guarded = platform::guarded<OwnVlan>();
        *guarded = *made;
        salListNodeRemove(as(&sw->vlanList), as(&made->link));
        salListNodeAppend(as(&sw->vlanList), as(&guarded->link));
        free(made);
        vlans.back().object = guarded;
        expectPorts();
        expectEntry(vlans.back());
    }
    void updated()
    {
        if (vlans.empty())
            return;
        const auto place = vlans.begin() + below(vlans.size());
        OwnVlan *vlan = place->object;
        OwnVlan image{};
        fill(image);
        EXPECT_EQ(0, switchVlanUpdate(as(vlan), as(&image)));
        take(image.id, image.members, image.untagged);
        vlans.erase(place);
        image.link = vlan->link;
        vlans.push_back(keptOf(&image));
        vlans.back().object = vlan;
        expectPorts();
        expectEntry(vlans.back());
    }
    void disabled()
    {
        if (vlans.empty())
            return;
        sw->forwards = static_cast<int32_t>(below(2));
        const Kept one = vlans[below(vlans.size())];
        disable(one.id);
        EXPECT_EQ(0, switchVlanDisable(as(one.object)));
        EXPECT_EQ(1, sw->forwards);
    }
    void deleted()
    {
        if (vlans.empty())
            return;
        const auto place = vlans.begin() + below(vlans.size());
        disable(place->id);
        expectPorts();
        expectEntry(*place);
        EXPECT_EQ(0, switchVlanDelete(as(place->object)));
        vlans.erase(place);
    }
    void allDisabled()
    {
        for (const Kept &one : std::vector<Kept>(vlans))
            disable(one.id);
        EXPECT_EQ(0, switchAllVlansDisable(as(sw)));
    }

    void compare()
    {
        auto *link = static_cast<Link *>(sw->vlanList.first);
        for (const Kept &one : vlans) {
            ASSERT_EQ(static_cast<void *>(link), one.object);
            EXPECT_EQ(one.id, one.object->id);
            EXPECT_EQ(one.members, one.object->members);
            EXPECT_EQ(one.untagged, one.object->untagged);
            link = static_cast<Link *>(link->next);
        }
        ASSERT_EQ(nullptr, link);
        for (const KeptPort &port : ports) {
            EXPECT_EQ(port.pvid, port.object->pvid);
            EXPECT_EQ(port.untaggedNowhere, port.object->untaggedNowhere);
        }
    }

    std::mt19937 random;
    OwnSwitch *sw = switchBuild("BCM", bcmSwitchConfig);
    OwnSwitch *other = switchBuild("BCM", bcmSwitchConfig);
    std::vector<KeptPort> ports;
    std::vector<Kept> vlans;
    std::string expected;
};

} // namespace

TEST(Direct, objectsOfAProgramsOwnAreReadAsTheyAre)
{
    for (uint32_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Chip quiet(seed, false);
        Chip aloud(seed, true);
        for (int i = 0; i < 60 && !HasFailure(); ++i) {
            swMgrDevDebug = 0;
            const std::string sent = quiet.step();
            swMgrDevDebug = 1;
            EXPECT_EQ(sent, aloud.step()) << "developer logging changes what is sent";
        }
    }
    swMgrDevDebug = 0;
}

TEST(Direct, aHierarchyOfAProgramsOwnIsServed)
{
    OwnSwitch *engine = switchBuild("PSE", pseSwitchConfig);
    OwnSwitch *chip = switchBuild("BCM", bcmSwitchConfig);
    fd = 7;
    engine->transfer = pseConfTransfer;
    OwnPort *above = portBuild(*engine, 3);
    above->trust = 4;
    nodeAppend(above->mapped, portBuild(*chip, 2));
    portBuild(*engine, 1); // mapped onto nothing
    nodeAppend(engine->lower, chip);
    switchLibInit();
    salListNodeAppend(&switchTbl, as(&engine->link));
    salListNodeAppend(&switchTbl, as(&chip->link));
    EXPECT_EQ(as(engine), switchAtTopLevelGet());
    EXPECT_EQ(as<SwitchPort>(above), switchPortByNumberAndSwitchNameGet("PSE", 3));

    SwitchVlanCfg cfg{};
    cfg.vlanId = 20;
    cfg.fwdMap = 0x6;
    cfg.untagMap = 0x4;
    strcpy(cfg.interfaceName, "eth0");
    EXPECT_EQ(0, switchVlanConfAdd(&cfg));
    std::string happened = hardware();
    happened.resize(happened.find("cmd vconfig"));
    EXPECT_EQ("socket 2 2 0\nioctl HWADDR eth0\nclose 9\n"
              "cmd vlan_table_func edit 4 0 0xc 0xc 20 00:11:22:33:44:50 1\n"
              "cmd arl_table_func add 00:11:22:33:44:50 20 0x4 0x1\n"
              "ioctl DEFAULT_TAG_SET 020014000000\nioctl NON8021Q_FRAMES_SET 020000000000\n"
              "ioctl VLAN_CLEAR 1400000000\nioctl VLAN_ENTRY_SET 14001600040000\n",
              happened);

    // A sender's record receives the VLAN's index, and is left alone otherwise.
    SwMgrVlanRequest request{};
    memset(&request, 'x', sizeof(request));
    request.vlan = cfg;
    SwMgrVlanRequest expected = request;
    expected.vlan.vlanIndex = switchNextVlanIndexGet();
    request.vlan.vlanIndex = -1;
    RelayMsgHdr header{1, 20, 3, 4, 1};
    EXPECT_EQ(0, swMgrIoctlHandler(nullptr, &header, SW_CMD_VLAN_ADD, &request, sizeof(request),
                                   nullptr, nullptr));
    EXPECT_EQ(0, memcmp(&expected, &request, sizeof(request)));
    platform::forget();

    // The same VLAN under another id from now on: what the engine does goes on to the chip.
    auto *ofEngine = static_cast<OwnVlan *>(engine->vlanList.first);
    ofEngine->id = 21;
    ofEngine->members = 0x1;
    EXPECT_EQ(nullptr, switchVlanByIdGet(as(engine), 20));
    EXPECT_EQ(0, switchVlanCfgApply(as(engine), as(ofEngine)));
    EXPECT_EQ("ioctl DEFAULT_TAG_SET 020014000000\nioctl NON8021Q_FRAMES_SET 020000000000\n"
              "cmd vlan_table_func edit 4 0 0x0 0x0 21  1\n"
              "cmd arl_table_func del  21\n"
              "ioctl VLAN_CLEAR 1500000000\nioctl VLAN_ENTRY_SET 15001100040000\n",
              hardware());
}

// Names and numbers change between commands; of two VLANs with one id both count.
TEST(Direct, aBridgeOfAProgramsOwnIsServed)
{
    OwnSwitch *sw = switchBuild("BRIDGE", nullptr);
    strcpy(sw->device, "br0");
    portBuild(*sw, 40);
    OwnPort *wan = portBuild(*sw, 1);
    OwnPort *lan = portBuild(*sw, 0);
    OwnVlan *vlans[3];
    for (OwnVlan *&vlan : vlans) {
        vlan = platform::guarded<OwnVlan>();
        vlan->id = 10;
        vlan->owner = sw;
        salListNodeAppend(as(&sw->vlanList), as(&vlan->link));
    }
    OwnVlan *one = vlans[0], *twin = vlans[1], *other = vlans[2];
    const auto filled = [](OwnVlan &vlan, int32_t id, uint32_t members, uint32_t untagged) {
        vlan.id = id;
        vlan.members = members;
        vlan.untagged = untagged;
    };
    const auto sent = [&](int cmd, void *payload) {
        const uint32_t length = cmd == SW_CMD_PORT_CONFIG_SET ? 140 : 1312;
        platform::forget();
        const int status = sw->config(as(sw), cmd, payload, length, nullptr, nullptr);
        return hardware() + "= " + std::to_string(status);
    };
    platform::answer("vlan_filtering", -2);
    EXPECT_EQ(0, switchConfigFuncRegister(as(sw)));

    filled(*one, 10, 0x3, 0x1);
    filled(*other, 20, 0x1, 0x1);
    EXPECT_EQ("= 0", sent(SW_CMD_VLAN_MEMBERSHIP_UPDATE, one));
    EXPECT_EQ(0x3u, twin->members);
    EXPECT_EQ(0x1u, twin->untagged);
    EXPECT_EQ(0u, other->untagged);

    // A port has no interface, then one: it joins with the first command that needs it.
    strcpy(wan->interface, "wan");
    EXPECT_EQ("cmd ip link set dev wan master br0\ncmd ip link set dev wan up\n"
              "cmd bridge vlan add dev wan vid 10\n= -1",
              sent(SW_CMD_VLAN_MEMBERSHIP_SET, nullptr));
    strcpy(lan->interface, "lan1");
    EXPECT_EQ("cmd ip link set dev lan1 master br0\ncmd ip link set dev lan1 up\n= 0",
              sent(SW_CMD_PORT_CONFIG_SET, lan));
    EXPECT_EQ("cmd bridge vlan add dev lan1 vid 10 pvid untagged\n"
              "cmd bridge vlan add dev br0 vid 10 self\n"
              "cmd bridge vlan add dev lan1 vid 20\ncmd bridge vlan add dev br0 vid 20 self\n= 0",
              sent(SW_CMD_VLAN_MEMBERSHIP_SET, nullptr));

    // One whose name has become an option of a tool is asked for nothing more.
    strcpy(lan->interface, "-all");
    filled(*other, 20, 0x1, 0x1);
    EXPECT_EQ("= -1", sent(SW_CMD_VLAN_MEMBERSHIP_UPDATE, other));
    EXPECT_EQ(0x1u, one->untagged);
    EXPECT_EQ("= -1", sent(SW_CMD_VLAN_MEMBERSHIP_SET, other));
    filled(*other, 20, 0x0, 0x0);
    EXPECT_EQ("cmd bridge vlan del dev br0 vid 20 self\n= 0",
              sent(SW_CMD_VLAN_MEMBERSHIP_SET, other));

    strcpy(lan->interface, "lan1");
    filled(*other, 20, 0x1, 0x1);
    EXPECT_EQ("cmd bridge vlan add dev lan1 vid 10\n= 0",
              sent(SW_CMD_VLAN_MEMBERSHIP_UPDATE, other));
    EXPECT_EQ(0u, one->untagged | twin->untagged);
    EXPECT_EQ("cmd bridge vlan add dev lan1 vid 20 pvid untagged\n"
              "cmd bridge vlan add dev br0 vid 20 self\n= 0",
              sent(SW_CMD_VLAN_MEMBERSHIP_SET, other));
    EXPECT_EQ("= 0", sent(SW_CMD_VLAN_MEMBERSHIP_SET, other));

    // What an object says is put right by its own command, not by another VLAN's.
    filled(*other, 20, 0x1, 0x0);
    filled(*one, 10, 0x3, 0x1);
    EXPECT_EQ("= 0", sent(SW_CMD_VLAN_MEMBERSHIP_UPDATE, one));
    EXPECT_EQ("cmd bridge vlan add dev lan1 vid 10 pvid untagged\n"
              "cmd bridge vlan add dev lan1 vid 20\n= 0",
              sent(SW_CMD_VLAN_MEMBERSHIP_SET, nullptr));

    // The port that is there under another number has to join as that.
    lan->number = 5;
    filled(*one, 10, 0x21, 0x0);
    EXPECT_EQ("= -22", sent(SW_CMD_VLAN_MEMBERSHIP_SET, one));
    filled(*one, 10, 0x20, 0x0);
    EXPECT_EQ("cmd bridge vlan del dev wan vid 10\ncmd ip link set dev lan1 master br0\n"
              "cmd ip link set dev lan1 up\ncmd bridge vlan add dev lan1 vid 10\n= 0",
              sent(SW_CMD_VLAN_MEMBERSHIP_SET, one));
    EXPECT_EQ("", platform::answerAsUsual());

    EXPECT_EQ(0, switchConfigFuncUnRegister(as(sw)));
    EXPECT_EQ(nullptr, sw->config);
    EXPECT_EQ(nullptr, sw->transfer);
}

// The field is longer than a name that a mapping can hold.
TEST(Direct, aMappingFindsNamesOfUpTo63Characters)
{
    OwnSwitch *engine = switchBuild("PSE", pseSwitchConfig);
    engine->level = 2;
    switchLibInit();
    salListNodeAppend(&switchTbl, as(&engine->link));
    int number = 0;
    for (const auto &[length, status] : {std::pair{62, 0}, {63, 0}, {64, -1}, {511, -1}}) {
        const std::string name(static_cast<size_t>(length), 'n');
        OwnSwitch *below = switchBuild(name.c_str(), bcmSwitchConfig);
        below->level = 1;
        const OwnPort *port = portBuild(*below, 1);
        salListNodeAppend(&switchTbl, as(&below->link));
        OwnPort *above = portBuild(*engine, ++number);
        std::string text = name + ":1";
        EXPECT_EQ(status, switchPortMapInit(as<SwitchPort>(above), text.data())) << length;
        const auto *last = static_cast<OwnNode *>(above->mapped.last);
        EXPECT_EQ(status == 0 ? port : nullptr, last != nullptr ? last->target : nullptr);
    }
}
