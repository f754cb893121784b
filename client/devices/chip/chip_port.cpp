// What happens to a frame at a port of the chip.
#include "client/devices/chip/chip.h"

#include "client/base/port_mask.h"

namespace swctl {
namespace {

uint32_t hostPortsOf(const PortQuestion &question, const ChipState &wanted, int vlanId)
{
    const auto found = question.hostPorts.find(vlanId);
    return found != question.hostPorts.end() ? found->second & wanted.entry(vlanId).members : 0;
}

// That the chip is in another VLAN mode than a start leaves it in; null: not known to be.
const Difference *modeDifference(const PortQuestion &question)
{
    for (const Difference &difference : question.differences)
        if (difference.everyVlan && difference.isSettingOf(chipPart, question.port.number))
            return &difference;
    return nullptr;
}

FrameFate fateOf(const PortQuestion &question, const ChipState &wanted, const ChipState &judged,
                 int vlanId)
{
    FrameFate fate;
    const Difference *mode = modeDifference(question);
    if (mode != nullptr)
        fate.unknown = "802.1Q is " + mode->found + " on the chip (" + mode->source + ")" +
                       (mode->found == "off" ? ", so tags are ignored" : "");
    else if (!wanted.vlanMode)
        fate.unknown = "a start leaves 802.1Q off on the chip, so tags are ignored";
    else if (vlanId == 0)
        fate.unknown = "the port's default tag names no VLAN";
    if (!fate.unknown.empty())
        return fate;
    VlanEntry entry = judged.entry(vlanId);
    entry.host = hostPortsOf(question, wanted, vlanId);
    const auto at = static_cast<size_t>(question.port.number);
    return forwarded(question.port.number, vlanId, entry, judged.chip.ports[at].forwardMap);
}

std::string partOf(const ChipState &state, int vlanId, int port)
{
    const VlanEntry entry = state.entry(vlanId);
    return partText((entry.members & portBit(port)) != 0, (entry.untagged & portBit(port)) != 0);
}

} // namespace

PortAnswer explainChipPort(const PortQuestion &question)
{
    const int port = question.port.number;
    const auto at = static_cast<size_t>(port);
    const auto &wanted = static_cast<const ChipState &>(question.wanted);
    const auto *held = static_cast<const ChipState *>(question.actual.held.get());
    const ChipState &judged = held != nullptr ? *held : wanted;
    PortAnswer all;
    all.basis = held != nullptr ? "the state read from the chip"
                                : "a fresh start, because the chip could not be read";
    if (!question.unknownMode.empty())
        all.basis += "; " + question.unknownMode;
    all.read = held != nullptr;
    all.wanted = partOf(wanted, question.vlanId, port);
    all.held = held != nullptr ? partOf(*held, question.vlanId, port)
                               : "not read: " + question.actual.reason;
    all.tagged = fateOf(question, wanted, judged, question.vlanId);
    all.untagged = fateOf(question, wanted, judged, judged.chip.ports[at].pvid);
    // The driver cannot report this; a start sets it on every port.
    if (wanted.tagsAlone[at] && all.untagged.unknown.empty()) {
        all.untagged = {};
        all.untagged.dropped = "the port is untagged in no VLAN and accepts only tagged frames";
    }
    const VlanEntry entry = judged.entry(question.vlanId);
    if ((entry.members & portBit(port)) != 0)
        all.sends = (entry.untagged & portBit(port)) != 0 ? "untagged" : "tagged";
    const std::set<int> concerned{question.vlanId, wanted.chip.ports[at].pvid,
                                  judged.chip.ports[at].pvid};
    for (const Difference &difference : question.differences)
        if (difference.kind == DifferenceKind::defaultTag
                ? difference.port == port
                : concerned.contains(difference.vlanId) || difference.isSettingOf(chipPart, port))
            all.differs.push_back(difference);
    if ((wanted.entry(question.vlanId).members & portBit(port)) == 0)
        all.remedyInterface = "IF";
    return all;
}

} // namespace swctl
