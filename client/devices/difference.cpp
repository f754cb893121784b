#include "client/devices/difference.h"

#include "client/base/port_mask.h"
#include "client/base/text.h"

#include <algorithm>
#include <cstring>

namespace swctl {
namespace {

constexpr const char *keys[] = {"chip-entry",   "default-tag", "sub-interface", "engine-entry",
                                "bridge-entry", "bridge-link", "setting"};

void compareChip(const Target &target, const Chip &actual, const std::set<int> &read,
                 std::vector<Difference> &all)
{
    std::set<int> ids;
    for (const auto &[id, entry] : target.chip.vlans)
        ids.insert(id);
    for (const auto &[id, entry] : actual.vlans)
        ids.insert(id);
    for (const int id : ids) {
        const ChipVlan wanted = entryOf(target.chip, id);
        const ChipVlan found = entryOf(actual, id);
        if (wanted == found || !read.contains(id))
            continue;
        Difference difference;
        difference.kind = DifferenceKind::chipEntry;
        difference.vlanId = id;
        difference.wanted = membersText(wanted);
        difference.found = membersText(found);
        all.push_back(difference);
    }
    for (int port = 0; port < chipPortCount; ++port) {
        const auto at = static_cast<size_t>(port);
        const ChipPort &wanted = target.chip.ports[at];
        if (wanted.pvid == actual.ports[at].pvid)
            continue;
        Difference difference;
        difference.kind = DifferenceKind::defaultTag;
        difference.vlanId = wanted.pvid;
        difference.port = port;
        difference.wanted = std::to_string(wanted.pvid);
        difference.found = std::to_string(actual.ports[at].pvid);
        difference.counts = target.takesUntagged[at];
        all.push_back(difference);
    }
}

void compareKernel(const Target &target, const Kernel &actual, std::vector<Difference> &all)
{
    const auto differ = [&](const SubInterface &about, const std::string &wanted,
                            const std::string &found) {
        Difference difference;
        difference.kind = DifferenceKind::subInterface;
        difference.vlanId = about.vlanId;
        difference.parent = about.parent;
        difference.wanted = wanted;
        difference.found = found;
        all.push_back(difference);
    };
    for (const auto &[name, wanted] : target.kernel.interfaces) {
        const auto found = actual.interfaces.find(name);
        if (found == actual.interfaces.end())
            differ(wanted, stateText(wanted), "missing");
        else if (!(found->second == wanted))
            differ(wanted, stateText(wanted), stateText(found->second));
    }
    for (const auto &[name, found] : actual.interfaces)
        if (!target.kernel.interfaces.contains(name))
            differ(found, "none", stateText(found));
}

void compareEngine(const EngineFacts &facts, std::vector<Difference> &all)
{
    for (const auto &[vlanId, lines] : facts.failed)
        for (const std::string &line : lines) {
            Difference difference;
            difference.kind = DifferenceKind::engineEntry;
            difference.vlanId = vlanId;
            difference.wanted = "written";
            difference.found = "failed: " + line;
            all.push_back(difference);
        }
}

// No VLAN can be put onto a port that is not in the bridge, and the service has its ports
// join once.
void compareLinks(const Bridge &wanted, const Bridge &actual, std::vector<Difference> &all)
{
    const auto differ = [&](const std::string &name, const std::string &should,
                            const std::string &found) {
        Difference &difference = all.emplace_back();
        difference.kind = DifferenceKind::bridgeLink;
        difference.parent = name;
        difference.wanted = should;
        difference.found = found;
        difference.remedy = Remedy::restart;
    };
    bool apart = false;
    for (const auto &[name, link] : wanted.links) {
        const auto found = actual.links.find(name);
        apart = apart || found == actual.links.end() || found->second.master != link.master;
        if (linkText(wanted, name) != linkText(actual, name))
            differ(name, linkText(wanted, name), linkText(actual, name));
    }
    for (Difference &difference : all)
        if (apart && difference.kind == DifferenceKind::bridgeEntry)
            difference.remedy = Remedy::restart;
    // A request may have switched it since, and no VLAN depends on it.
    if (wanted.snooping && actual.snooping && *wanted.snooping != *actual.snooping) {
        const auto state = [](bool on) {
            return std::string("multicast snooping ") + (on ? "on" : "off");
        };
        differ(wanted.name, state(*wanted.snooping), state(*actual.snooping));
        all.back().counts = false;
    }
}

void compareBridge(const Bridge &wanted, const Bridge &actual, const std::set<int> &read,
                   std::vector<Difference> &all)
{
    std::set<int> ids;
    for (const auto &[id, members] : wanted.vlans)
        ids.insert(id);
    for (const auto &[id, members] : actual.vlans)
        ids.insert(id);
    for (const int id : ids) {
        Difference difference;
        difference.kind = DifferenceKind::bridgeEntry;
        difference.vlanId = id;
        difference.wanted = bridgeText(wanted, id);
        difference.found = bridgeText(actual, id);
        if (read.contains(id) && difference.wanted != difference.found)
            all.push_back(difference);
    }
}

} // namespace

bool Difference::sameAs(const Difference &other) const
{
    return kind == other.kind && vlanId == other.vlanId && port == other.port &&
           wanted == other.wanted && found == other.found && parent == other.parent;
}

std::string Difference::key() const
{
    return keys[static_cast<size_t>(kind)];
}

std::string Difference::text() const
{
    const std::string vlan = "VLAN " + std::to_string(vlanId);
    switch (kind) {
    case DifferenceKind::chipEntry:
        return vlan + " in the chip: " + found + ", should be " + wanted;
    case DifferenceKind::defaultTag:
        return "port " + std::to_string(port) + " default tag: " + found + ", should be " + wanted +
               (counts ? "" : " (no effect: the port is untagged in no VLAN)");
    case DifferenceKind::subInterface:
        return printable(parent) + "." + std::to_string(vlanId) + ": " + found + ", should be " +
               wanted;
    case DifferenceKind::engineEntry:
        return vlan + " in the engine: " + printable(found);
    case DifferenceKind::bridgeEntry:
        return vlan + " in the bridge: " + found + ", should be " + wanted;
    case DifferenceKind::bridgeLink:
        return printable(parent) + ": " + found + ", should be " + wanted +
               (counts ? "" : " (no effect on a VLAN's frames)");
    case DifferenceKind::setting:
        return printable(found);
    }
    return {};
}

std::string Difference::mend() const
{
    switch (remedy) {
    case Remedy::repair:
        break;
    case Remedy::restart:
        return kind == DifferenceKind::bridgeLink && found == noLink && wanted.starts_with("in ")
                   ? "see to it that there is an interface " + printable(parent) +
                         ", then restart the service"
                   : "restart the service";
    case Remedy::rows:
        return "mend the row at which a start stops; 'swctl check' names it";
    }
    return "swctl repair";
}

Target targetOf(const Rehearsal &rehearsal, std::set<int> vlanIds)
{
    Target target;
    target.chip = rehearsal.chip();
    target.kernel = rehearsal.kernel();
    target.bridge = bridgeOf(rehearsal.events());
    target.vlanIds = std::move(vlanIds);
    target.loadStatus = rehearsal.loadStatus();
    target.stopped = rehearsal.stoppedAt();
    for (const auto &[id, vlan] : target.chip.vlans)
        for (size_t port = 0; port < target.takesUntagged.size(); ++port)
            if ((vlan.untagMap >> port & 1) != 0)
                target.takesUntagged[port] = true;
    target.chipRun = rehearsal.state().chip.handled != 0;
    target.pauses = pauseRegistersOf(rehearsal.state().engine);
    const std::vector<Event> &all = rehearsal.events();
    target.pausesSet = std::any_of(all.begin(), all.end(), [](const Event &event) {
        return event.kind == rehearsal::Kind::shell;
    });
    return target;
}

std::vector<Difference> pauseDifferences(const PauseRegisters &wanted, const PauseRegisters &found)
{
    std::vector<Difference> all;
    for (size_t i = 0; i < wanted.size(); ++i) {
        if (((wanted[i] ^ found[i]) & pauseBit) == 0)
            continue;
        Difference difference;
        difference.kind = DifferenceKind::setting;
        difference.wanted = (wanted[i] & pauseBit) != 0 ? "on" : "off";
        difference.found = "pause frames of register " + registerName(pauseRegisters[i]) + ": " +
                           ((found[i] & pauseBit) != 0 ? "on" : "off") + ", by a fresh start " +
                           difference.wanted;
        difference.counts = false;
        difference.remedy = Remedy::restart;
        all.push_back(difference);
    }
    return all;
}

std::vector<Difference> differences(const Target &target, const Actual &actual)
{
    std::vector<Difference> all;
    if (actual.chip.held && target.chipRun)
        compareChip(target, *actual.chip.held, actual.chipIds, all);
    if (actual.kernel.held)
        compareKernel(target, *actual.kernel.held, all);
    if (actual.bridge.held)
        compareBridge(target.bridge, *actual.bridge.held, actual.chipIds, all);
    if (actual.bridge.held && !target.bridge.name.empty())
        compareLinks(target.bridge, *actual.bridge.held, all);
    if (actual.engine.held)
        compareEngine(*actual.engine.held, all);
    for (Difference &difference : all) {
        difference.inRows = target.vlanIds.contains(difference.vlanId);
        if (target.stopped)
            difference.remedy = Remedy::rows;
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const Difference &a, const Difference &b) { return a.vlanId < b.vlanId; });
    return all;
}

ChipVlan entryOf(const Chip &chip, int vlanId)
{
    const auto found = chip.vlans.find(vlanId);
    return found != chip.vlans.end() ? found->second : ChipVlan();
}

std::string stateText(const SubInterface &sub)
{
    std::string text = sub.up ? "up" : "down";
    const auto mapped = [](const auto &map) {
        for (size_t i = 0; i < 8; ++i)
            if (map[i] != i)
                return false;
        return true;
    };
    if (!mapped(sub.ingress))
        text += ", ingress priorities not mapped";
    if (!mapped(sub.egress))
        text += ", egress priorities not mapped";
    return text;
}

std::string membersText(const ChipVlan &vlan)
{
    return membersText(vlan.fwdMap, vlan.untagMap);
}

std::string membersText(uint32_t members, uint32_t untagged)
{
    std::string text;
    for (const int port : portsIn(members | untagged)) {
        const bool member = (members & portBit(port)) != 0;
        const bool bare = (untagged & portBit(port)) != 0;
        text += (text.empty() ? "" : " ") + std::to_string(port) +
                (!member ? "u"
                 : bare  ? "U"
                         : "T");
    }
    return text.empty() ? "-" : text;
}

} // namespace swctl
