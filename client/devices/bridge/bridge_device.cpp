#include "client/devices/bridge/bridge_device.h"

#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "swmgr/swmgr_client.h"

namespace swctl {
namespace {

constexpr int commands[] = {SW_CMD_VLAN_ENABLE, SW_CMD_QUEUE_SCHED, SW_CMD_PAUSE_FRAME,
                            SW_CMD_RATE_LIMIT,  SW_CMD_IGMP_SNOOP,  SW_CMD_MLD_SNOOP};

constexpr DeviceFacts facts = {
    .name = bridgeSwitch,
    .part = bridgePart,
    .words = "a bridge",
    .preview = "bridge",
    .portCount = 32,
    .firstPort = 0,
    .beyondPorts = "",
    .hasQuery = true,
    .portsAreInterfaces = true,
    .takesLists = true,
    .commands = commands,
};

const BridgeState &bridgeStateOf(const DeviceState &state)
{
    return static_cast<const BridgeState &>(state);
}

class BridgeDevice final : public Device {
public:
    BridgeDevice() : Device(facts) {}

    [[nodiscard]] StateRef wanted(const Rehearsal &start,
                                  const std::vector<DevicePort> &ports) const override
    {
        const auto state = std::make_shared<BridgeState>();
        state->bridge = bridgeOf(start.events());
        state->ports = ports;
        return state;
    }

    [[nodiscard]] StateRef nothing() const override { return std::make_shared<BridgeState>(); }
    [[nodiscard]] DeviceReading read(const ReadOrder &order) const override;
    void compare(const DeviceState &wanted, const DeviceState &actual,
                 std::vector<Difference> &all) const override;

    void wantSettings(const Rehearsal &start, const Row &own, const std::vector<Row> &ports,
                      std::vector<WantedSetting> &all) const override
    {
        wantBridgeSettings(bridgeOf(start.events()), own, ports, all);
    }
    void readSettings(const SentLog &sent, const Site * /*site*/, const DeviceReading &reading,
                      std::vector<SettingInForce> &all) const override
    {
        if (reading.held)
            readBridgeSettings(sent, bridgeStateOf(*reading.held), all);
    }

    [[nodiscard]] PortAnswer explain(const PortQuestion &question) const override
    {
        return explainBridgePort(question);
    }

    [[nodiscard]] std::span<const Rule> rules() const override { return bridgeRules(); }
    [[nodiscard]] std::span<const Guard> guards() const override { return bridgeGuards(); }
    void check(const Configuration &all, const Surroundings &where,
               std::vector<RowFault> &faults) const override
    {
        checkBridgeRows(all, where, faults);
    }
    void checkLists(const Configuration &all, std::vector<RowFault> &faults) const override
    {
        checkBridgeLists(all, faults);
    }
    [[nodiscard]] std::optional<bool> supportedHere() const override { return bridgesFilter(); }
    [[nodiscard]] std::string madeInterface(const Row &switchRow) const override
    {
        return switchRow.text("switchDevice");
    }
};

// A bridge is always read completely; `ids` only selects the VLANs to compare.
DeviceReading BridgeDevice::read(const ReadOrder &order) const
{
    if (!order.site.engineState.empty())
        return {nullptr, "a simulated gateway has no bridge"};
    std::set<std::string> interfaces;
    for (const DevicePort &port : order.ports)
        interfaces.insert(port.interfaceName);
    Part<Bridge> held = readBridge(order.node, interfaces);
    if (!held.held)
        return {nullptr, held.reason};
    const auto state = std::make_shared<BridgeState>();
    state->bridge = std::move(*held.held);
    state->ports = order.ports;
    state->ids = order.ids;
    const auto *wanted = static_cast<const BridgeState *>(order.wanted);
    for (const BridgeState *side : {static_cast<const BridgeState *>(state.get()), wanted}) {
        if (side == nullptr)
            continue;
        if (order.whole)
            state->ids.merge(side->vlanIds());
        for (const DevicePort &port : order.ports)
            if (order.untaggedAt.contains(port.number))
                if (const int id = untaggedVlan(side->bridge, port.interfaceName); id != 0)
                    state->ids.insert(id);
    }
    return {state, {}};
}

// VLANs can only be set on ports that are in the bridge, and the service adds its ports only
// at startup. True if an interface is missing or in the wrong bridge.
bool compareLinks(const Bridge &wanted, const Bridge &actual, std::vector<Difference> &all)
{
    const auto differ = [&](const std::string &name, const std::string &should,
                            const std::string &found) {
        Difference &difference = all.emplace_back();
        difference.kind = DifferenceKind::link;
        difference.part = facts.part;
        difference.parent = name;
        difference.wanted = should;
        difference.found = found;
        difference.remedy = Remedy::restart;
    };
    bool apart = false;
    Bridge held = actual;
    held.filtering = wanted.filtering; // it is a setting
    for (const auto &[name, link] : wanted.links) {
        const auto found = actual.links.find(name);
        apart = apart || found == actual.links.end() || found->second.master != link.master;
        if (linkText(wanted, name) == linkText(held, name))
            continue;
        differ(name, linkText(wanted, name), linkText(held, name));
        if (found == actual.links.end() && name != wanted.name)
            all.back().firstStep = "create the interface " + printable(name);
    }
    return apart;
}

void BridgeDevice::compare(const DeviceState &wanted, const DeviceState &actual,
                           std::vector<Difference> &all) const
{
    const BridgeState &should = bridgeStateOf(wanted);
    const BridgeState &held = bridgeStateOf(actual);
    if (should.bridge.name.empty())
        return; // a start stops before the bridge
    std::vector<Difference> links;
    const bool apart = compareLinks(should.bridge, held.bridge, links);
    for (const int id : held.ids) {
        const std::string text = should.vlanText(id);
        if (text == held.vlanText(id))
            continue;
        all.push_back(entryDifference(*this, id, text, held.vlanText(id)));
        if (apart)
            all.back().remedy = Remedy::restart;
    }
    all.insert(all.end(), links.begin(), links.end());
}

} // namespace

const Device &bridgeDevice()
{
    static const BridgeDevice device;
    return device;
}

std::string BridgeState::label() const
{
    return bridge.name;
}

std::string BridgeState::vlanText(int id) const
{
    return bridgeText(bridge, id);
}

Json BridgeState::vlanJson(int id) const
{
    return vlanText(id);
}

std::set<int> BridgeState::vlanIds() const
{
    std::set<int> all;
    for (const auto &[id, members] : bridge.vlans)
        all.insert(id);
    return all;
}

VlanEntry BridgeState::entry(int id) const
{
    VlanEntry held;
    const auto members = bridge.vlans.find(id);
    for (const DevicePort &port : ports) {
        if (members == bridge.vlans.end() || !members->second.contains(port.interfaceName))
            continue;
        held.members |= portBit(port.number);
        if (members->second.at(port.interfaceName) == Tagging::untagged)
            held.untagged |= portBit(port.number);
    }
    return held;
}

std::optional<int> BridgeState::defaultTag(const DevicePort &port) const
{
    const int id = untaggedVlan(bridge, port.interfaceName);
    return id != 0 ? std::optional(id) : std::nullopt;
}

HostSide BridgeState::hostSide(int id, uint32_t /*hostPorts*/) const
{
    HostSide side;
    if (!bridge.name.empty())
        side.text = "in bridge " + vlanText(id);
    return side;
}

} // namespace swctl
