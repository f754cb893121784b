#include "client/devices/engine/engine.h"

#include "client/base/port_mask.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>

namespace swctl {
namespace {

// Without the trust mode command: a request's payload does not have the length that it takes.
constexpr int commands[] = {SW_CMD_QOS_ENABLE, SW_CMD_QUEUE_SCHED, SW_CMD_PAUSE_FRAME,
                            SW_CMD_RATE_LIMIT};

constexpr DeviceFacts facts = {
    .name = engineName,
    .part = enginePart,
    .words = "the engine",
    .preview = nullptr,
    .portCount = 8,
    .firstPort = 1,
    .beyondPorts = "",
    .hasQuery = false,
    .portsAreInterfaces = false,
    .takesLists = false,
    .commands = commands,
};

// The entries of the VLAN table without their indexes: an index depends only on the order in
// which VLANs were added, and nothing uses it.
std::vector<std::string> vlanEntriesOf(const engine::State &state)
{
    std::vector<std::string> entries;
    for (const engine::VlanEntry &entry : state.vlans)
        if (entry.present != 0)
            entries.emplace_back(reinterpret_cast<const char *>(&entry), sizeof(entry));
    std::sort(entries.begin(), entries.end());
    return entries;
}

class EngineDevice final : public Device {
public:
    EngineDevice() : Device(facts) {}

    [[nodiscard]] StateRef wanted(const Rehearsal &start,
                                  const std::vector<DevicePort> &ports) const override;
    [[nodiscard]] StateRef nothing() const override { return std::make_shared<EngineLog>(); }
    [[nodiscard]] DeviceReading read(const ReadOrder &order) const override;
    void compare(const DeviceState &wanted, const DeviceState &actual,
                 std::vector<Difference> &all) const override;
    void wantSettings(const Rehearsal &start, const Row & /*own*/, const std::vector<Row> &ports,
                      std::vector<WantedSetting> &all) const override
    {
        wantEngineSettings(start, ports, all);
    }
    void readSettings(const SentLog &sent, const Site *site, const DeviceReading & /*reading*/,
                      std::vector<SettingInForce> &all) const override
    {
        readEngineSettings(sent, site, all);
    }
    [[nodiscard]] bool endsAlike(const Rehearsal &one, const Rehearsal &other) const override;
    [[nodiscard]] PortAnswer explain(const PortQuestion &question) const override;
    [[nodiscard]] std::span<const Rule> rules() const override { return engineRules(); }
    void check(const Configuration &all, const Surroundings & /*where*/,
               std::vector<RowFault> &faults) const override
    {
        checkEngineRows(all, faults);
    }
};

StateRef EngineDevice::wanted(const Rehearsal &start,
                              const std::vector<DevicePort> & /*ports*/) const
{
    const engine::State &engine = start.state().engine;
    const auto state = std::make_shared<EngineState>();
    for (uint32_t index = 0; index < engine.vlanIndexEnd; ++index) {
        const engine::VlanEntry &entry = engine.vlans[index];
        if (entry.present == 0)
            continue;
        EngineState::Vlan &vlan = state->vlans[entry.vlanId];
        vlan.members |= entry.mbMap;
        vlan.tagged |= entry.etagMap;
    }
    for (int id = 0; id < static_cast<int>(engine::vlanIdCount); ++id)
        for (const engine::ArlEntry &entry : engine.arl[id])
            if (entry.present != 0)
                state->vlans[id].host |= entry.portMap;
    return state;
}

DeviceReading EngineDevice::read(const ReadOrder &order) const
{
    if (!order.tools.held)
        return {nullptr, order.tools.reason};
    const auto log = std::make_shared<EngineLog>();
    log->failed = order.tools.held->ofVlans;
    return {log, order.tools.reason};
}

void EngineDevice::compare(const DeviceState & /*wanted*/, const DeviceState &actual,
                           std::vector<Difference> &all) const
{
    for (const auto &[vlanId, lines] : static_cast<const EngineLog &>(actual).failed)
        for (const std::string &line : lines)
            all.push_back(entryDifference(*this, vlanId, "written", "failed: " + line));
}

bool EngineDevice::endsAlike(const Rehearsal &one, const Rehearsal &other) const
{
    const engine::State &a = one.state().engine;
    const engine::State &b = other.state().engine;
    return std::equal(std::begin(a.ports), std::end(a.ports), std::begin(b.ports),
                      [](const engine::PortState &port, const engine::PortState &same) {
                          return port.trustSet == same.trustSet && port.trustFlag == same.trustFlag;
                      }) &&
           vlanEntriesOf(a) == vlanEntriesOf(b);
}

PortAnswer EngineDevice::explain(const PortQuestion &question) const
{
    const int port = question.port.number;
    const VlanEntry entry = question.wanted.entry(question.vlanId);
    const bool member = (entry.members & portBit(port)) != 0;
    const bool untagged = (entry.untagged & portBit(port)) != 0;
    const auto *log = static_cast<const EngineLog *>(question.actual.held.get());
    PortAnswer all;
    all.basis = "a fresh start, because the engine cannot be read";
    all.wanted = partText(member, untagged);
    all.held = log == nullptr ? "not known: " + question.actual.reason
               : log->failed.contains(question.vlanId)
                   ? "not known; a tool failed according to the log"
                   : "not known; no tool failed according to the log";
    if (log == nullptr)
        all.unread.push_back(std::string(part) + ": " + question.actual.reason);
    all.tagged = forwarded(port, question.vlanId, entry, ~uint32_t{0});
    all.untagged.unknown = "the engine's tools set no default tag";
    if (member)
        all.sends = untagged ? "untagged" : "tagged";
    for (const Difference &difference : question.differences)
        if ((difference.vlanId == question.vlanId &&
             difference.kind != DifferenceKind::defaultTag) ||
            difference.isSettingOf(part, port))
            all.differs.push_back(difference);
    return all;
}

} // namespace

const Device &engineDevice()
{
    static const EngineDevice device;
    return device;
}

std::string EngineState::label() const
{
    return facts.name;
}

std::string EngineState::vlanText(int id) const
{
    const VlanEntry held = entry(id);
    return membersText(held.members, held.untagged);
}

Json EngineState::vlanJson(int id) const
{
    const Vlan held = vlanOf(id);
    return {{"members", portsIn(held.members)}, {"tagged", portsIn(held.tagged)}};
}

std::set<int> EngineState::vlanIds() const
{
    std::set<int> all;
    for (const auto &[id, vlan] : vlans)
        if (vlan.members != 0)
            all.insert(id);
    return all;
}

VlanEntry EngineState::entry(int id) const
{
    const Vlan held = vlanOf(id);
    return {held.members, held.members & ~held.tagged, held.host};
}

EngineState::Vlan EngineState::vlanOf(int id) const
{
    const auto found = vlans.find(id);
    return found != vlans.end() ? found->second : Vlan();
}

std::string EngineLog::label() const
{
    return facts.name;
}

std::string EngineLog::vlanText(int id) const
{
    return failed.contains(id) ? "a tool failed (from the log)" : "no tool failed (from the log)";
}

Json EngineLog::vlanJson(int id) const
{
    const auto found = failed.find(id);
    Json lines = Json::array();
    if (found != failed.end())
        lines = found->second;
    return {{"failedTools", std::move(lines)}};
}

std::set<int> EngineLog::vlanIds() const
{
    return {};
}

} // namespace swctl
