#include "client/devices/chip/chip.h"

#include "client/base/number.h"
#include "client/base/port_mask.h"
#include "client/devices/chip/chip_driver.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>

namespace swctl {
namespace {

constexpr int commands[] = {SW_CMD_VLAN_ENABLE};

constexpr DeviceFacts facts = {
    .name = "BCM",
    .part = chipPart,
    .words = "the chip",
    .preview = "BCM",
    .portCount = chipPortCount,
    .firstPort = 0,
    .beyondPorts = "; with this row no VLAN can be added or changed",
    .hasQuery = true,
    .portsAreInterfaces = false,
    .takesLists = true,
    .commands = commands,
};

const ChipState &chipStateOf(const DeviceState &state)
{
    return static_cast<const ChipState &>(state);
}

// Ports that are untagged in some VLAN.
std::array<bool, chipPortCount> untaggedPorts(const Chip &chip)
{
    std::array<bool, chipPortCount> takes{};
    for (const auto &[id, vlan] : chip.vlans)
        for (size_t port = 0; port < takes.size(); ++port)
            takes[port] = takes[port] || (vlan.untagMap >> port & 1) != 0;
    return takes;
}

bool isSamePort(const chip::Port &a, const chip::Port &b)
{
    return a.forwardMap == b.forwardMap && a.trustMode == b.trustMode &&
           a.schedMode == b.schedMode && a.weights == b.weights && a.rateLimit == b.rateLimit;
}

std::string tagText(size_t port, int before, int after, bool losesTraffic)
{
    const std::string old = std::to_string(before);
    return "! port " + std::to_string(port) + " PVID " + old + " -> " + std::to_string(after) +
           (losesTraffic ? " (VLAN " + old + " loses its untagged traffic)" : "");
}

class ChipDevice final : public Device {
public:
    ChipDevice() : Device(facts) {}

    [[nodiscard]] uint32_t hostPorts(std::string_view interface, bool inSwitchOnly) const override
    {
        return portBit(interface == chipLanInterface && !inSwitchOnly ? chipLanHostPort
                                                                      : chipHostPort);
    }

    [[nodiscard]] StateRef wanted(const Rehearsal &start,
                                  const std::vector<DevicePort> & /*ports*/) const override
    {
        const auto state = std::make_shared<ChipState>();
        state->chip = start.chip();
        state->run = start.state().chip.handled != 0;
        state->vlanMode = start.state().chip.vlanMode;
        state->takesUntagged = untaggedPorts(state->chip);
        for (size_t port = 0; port < state->tagsAlone.size(); ++port)
            state->tagsAlone[port] = start.state().chip.ports[port].dropNon8021q != 0;
        return state;
    }

    [[nodiscard]] StateRef nothing() const override { return std::make_shared<ChipState>(); }

    [[nodiscard]] DeviceReading read(const ReadOrder &order) const override;
    [[nodiscard]] std::optional<Part<std::vector<PortState>>>
    readPorts(const Site &site, const std::string &node) const override;
    void compare(const DeviceState &wanted, const DeviceState &actual,
                 std::vector<Difference> &all) const override;
    void wantSettings(const Rehearsal &start, const Row &own, const std::vector<Row> &ports,
                      std::vector<WantedSetting> &all) const override;
    void readSettings(const SentLog &sent, const Site *site, const DeviceReading &reading,
                      std::vector<SettingInForce> &all) const override;
    void previewPorts(const DeviceState &before, const DeviceState &after,
                      std::vector<std::string> &lines) const override;
    [[nodiscard]] bool endsAlike(const Rehearsal &one, const Rehearsal &other) const override;

    [[nodiscard]] PortAnswer explain(const PortQuestion &question) const override
    {
        return explainChipPort(question);
    }

    [[nodiscard]] std::span<const Rule> rules() const override { return chipRules(); }
    [[nodiscard]] std::span<const Guard> guards() const override { return chipGuards(); }
    void check(const Configuration &all, const Surroundings & /*where*/,
               std::vector<RowFault> &faults) const override
    {
        checkChipRows(all, faults);
    }
    void checkLists(const Configuration &all, std::vector<RowFault> &faults) const override
    {
        checkChipLists(all, faults);
    }
};

// The actual and the wanted VLANs of untagged frames at these ports.
std::set<int> untaggedVlans(const std::set<int> &ports, const Chip *wanted, const Chip *held)
{
    std::set<int> ids;
    for (const int port : ports)
        for (const Chip *chip : {wanted, held})
            if (chip != nullptr && port < chipPortCount)
                ids.insert(chip->ports[static_cast<size_t>(port)].pvid);
    return ids;
}

DeviceReading ChipDevice::read(const ReadOrder &order) const
{
    const Chip *wanted = order.wanted != nullptr ? &chipStateOf(*order.wanted).chip : nullptr;
    const auto state = std::make_shared<ChipState>();
    state->ids = order.ids;
    if (order.whole && wanted != nullptr)
        for (const auto &[id, vlan] : wanted->vlans)
            state->ids.insert(id);
    Part<Chip> ports;
    if (!order.untaggedAt.empty()) {
        ports = readChipPorts(order.site, order.node);
        state->ids.merge(
            untaggedVlans(order.untaggedAt, wanted, ports.held ? &*ports.held : nullptr));
    }
    std::erase_if(state->ids, [](int id) { return id < lowestVlan || id > highestVlan; });
    Part<Chip> chip = readChip(order.site, order.node, state->ids, order.progress);
    if (!chip.held)
        return {nullptr, chip.reason};
    state->chip = std::move(*chip.held);
    if (ports.held)
        state->chip.ports = ports.held->ports;
    return {state, {}};
}

std::optional<Part<std::vector<PortState>>> ChipDevice::readPorts(const Site &site,
                                                                  const std::string &node) const
{
    const Part<Chip> chip = readChipPorts(site, node);
    Part<std::vector<PortState>> read{.held = {}, .reason = chip.reason};
    if (chip.held)
        read.held.emplace(chip.held->ports.begin(), chip.held->ports.end());
    return read;
}

void ChipDevice::compare(const DeviceState &wanted, const DeviceState &actual,
                         std::vector<Difference> &all) const
{
    const ChipState &should = chipStateOf(wanted);
    const ChipState &held = chipStateOf(actual);
    if (!should.run)
        return;
    for (const int id : held.ids)
        if (!(entryOf(should.chip, id) == entryOf(held.chip, id)))
            all.push_back(entryDifference(*this, id, should.vlanText(id), held.vlanText(id)));
    for (size_t port = 0; port < should.chip.ports.size(); ++port) {
        const int pvid = should.chip.ports[port].pvid;
        const int found = held.chip.ports[port].pvid;
        if (pvid == found)
            continue;
        Difference &difference = all.emplace_back();
        difference.kind = DifferenceKind::defaultTag;
        difference.vlanId = pvid;
        difference.port = static_cast<int>(port);
        difference.wanted = std::to_string(pvid);
        difference.found = std::to_string(found);
        difference.counts = should.takesUntagged[port];
    }
}

void ChipDevice::wantSettings(const Rehearsal &start, const Row & /*own*/,
                              const std::vector<Row> & /*ports*/,
                              std::vector<WantedSetting> &all) const
{
    const chip::Model &model = start.state().chip;
    if (model.handled != 0)
        all.push_back({.part = part,
                       .name = vlanModeName,
                       .value = onOff(model.vlanMode),
                       .switchName = name,
                       .requests = {stateRequest(SW_CMD_VLAN_ENABLE, model.vlanMode)}});
}

// The service logs the state before it asks the driver, and only a failure after it.
void ChipDevice::readSettings(const SentLog &sent, const Site * /*site*/,
                              const DeviceReading & /*reading*/,
                              std::vector<SettingInForce> &all) const
{
    constexpr std::string_view state = "VLAN Enable status ";
    const LogLine *line = sent.find(state);
    if (line == nullptr)
        return;
    SettingInForce &setting = addSetting(all, part, vlanModeName);
    setting.value = onOff(line->text.substr(state.size()) == "1");
    takeSource(setting, *line);
    for (const char *failure :
         {"Failed to enable VLAN in ", "Failed to process cmd (33) ", "Failed to process cmd 33 "})
        if (const LogLine *failed = sent.find(failure);
            failed != nullptr && failed->number > line->number) {
            takeFailure(setting, "refused when it was ");
            break;
        }
}

void ChipDevice::previewPorts(const DeviceState &before, const DeviceState &after,
                              std::vector<std::string> &lines) const
{
    const ChipState &old = chipStateOf(before);
    const ChipState &now = chipStateOf(after);
    for (size_t port = 0; port < old.chip.ports.size(); ++port)
        if (old.chip.ports[port].pvid != now.chip.ports[port].pvid)
            lines.push_back(tagText(port, old.chip.ports[port].pvid, now.chip.ports[port].pvid,
                                    old.takesUntagged[port]));
}

// The default tag has no effect on a port that accepts no untagged frames.
bool ChipDevice::endsAlike(const Rehearsal &one, const Rehearsal &other) const
{
    const chip::Model &a = one.state().chip;
    const chip::Model &b = other.state().chip;
    const std::array<bool, chipPortCount> takesUntagged = untaggedPorts(other.chip());
    for (size_t port = 0; port < takesUntagged.size(); ++port)
        if (!isSamePort(a.ports[port], b.ports[port]) ||
            (takesUntagged[port] && a.ports[port].pvid != b.ports[port].pvid))
            return false;
    return one.chip().vlans == other.chip().vlans;
}

} // namespace

const Device &chipDevice()
{
    static const ChipDevice device;
    return device;
}

std::string ChipState::label() const
{
    return facts.name;
}

std::string ChipState::vlanText(int id) const
{
    return membersText(entryOf(chip, id));
}

Json ChipState::vlanJson(int id) const
{
    const ChipVlan vlan = entryOf(chip, id);
    return {{"members", portsIn(vlan.fwdMap)}, {"untagged", portsIn(vlan.untagMap)}};
}

std::set<int> ChipState::vlanIds() const
{
    std::set<int> all;
    for (const auto &[id, vlan] : chip.vlans)
        all.insert(id);
    return all;
}

VlanEntry ChipState::entry(int id) const
{
    const ChipVlan vlan = entryOf(chip, id);
    return {vlan.fwdMap, vlan.untagMap, 0};
}

std::optional<int> ChipState::defaultTag(const DevicePort &port) const
{
    if (port.number < 0 || port.number >= chipPortCount)
        return std::nullopt;
    return chip.ports[static_cast<size_t>(port.number)].pvid;
}

HostSide ChipState::hostSide(int id, uint32_t hostPorts) const
{
    const VlanEntry vlan = entry(id);
    const uint32_t host = hostPorts & vlan.members;
    const uint32_t others = vlan.members & ~host;
    HostSide side;
    side.ports = membersText(others, vlan.untagged & others);
    side.hostPorts = membersText(host, vlan.untagged & host);
    side.text = "from chip ports " + side.ports + ", through " + side.hostPorts;
    return side;
}

ChipVlan entryOf(const Chip &chip, int vlanId)
{
    const auto found = chip.vlans.find(vlanId);
    return found != chip.vlans.end() ? found->second : ChipVlan();
}

std::string membersText(const ChipVlan &vlan)
{
    return membersText(vlan.fwdMap, vlan.untagMap);
}

} // namespace swctl
