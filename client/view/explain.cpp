#include "client/view/explain.h"

#include "client/base/number.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/view/explain_bridge.h"

#include <algorithm>

namespace swctl {
namespace {

// The chip's ports that lead a VLAN to the host.
uint32_t hostPorts(const Network &network, int vlanId)
{
    uint32_t map = 0;
    for (size_t row = 0; row < network.vlans.size(); ++row)
        for (size_t at = 0; network.vlans[row].id == vlanId && at < network.columns.size(); ++at) {
            const PortColumn &column = network.columns[at];
            if (network.lines[row][at].cpu &&
                network.switches[column.owner].carriedBy == Backend::chip)
                map |= portBit(column.port);
        }
    return map;
}

// Of a frame that gets into a VLAN at a port with these members.
FrameFate forwarded(int port, int vlanId, uint32_t members, uint32_t untagged, uint32_t reach)
{
    FrameFate fate;
    fate.vlanId = vlanId;
    const uint32_t to = members & reach & ~portBit(port);
    if (members == 0)
        fate.dropped = "there is no " + vlanText(vlanId);
    else if ((members & portBit(port)) == 0)
        fate.dropped = "port " + std::to_string(port) + " is no member of " + vlanText(vlanId);
    else if (to == 0)
        fate.dropped = vlanText(vlanId) + " has no other port that it may go to";
    else
        fate.to = to;
    fate.bare = fate.to & untagged;
    return fate;
}

FrameFate chipFate(const Inspection &inspection, const Chip &chip, int port, int vlanId)
{
    FrameFate fate;
    if (!inspection.start->state().chip.vlanMode)
        fate.unknown = "a start leaves 802.1Q off on the chip: tags are not looked at";
    else if (vlanId == 0)
        fate.unknown = "the port's default tag names no VLAN";
    if (!fate.unknown.empty())
        return fate;
    const ChipVlan entry = entryOf(chip, vlanId);
    fate = forwarded(port, vlanId, entry.fwdMap, entry.untagMap,
                     chip.ports[static_cast<size_t>(port)].forwardMap);
    fate.host = (fate.to & hostPorts(inspection.network, vlanId)) != 0;
    return fate;
}

FrameFate engineFate(const Inspection &inspection, int port, int vlanId)
{
    const EngineVlan vlan = inspection.engineOf(vlanId);
    FrameFate fate =
        forwarded(port, vlanId, vlan.members, vlan.members & ~vlan.tagged, ~uint32_t{0});
    fate.host = (fate.to & vlan.cpu) != 0;
    return fate;
}

std::string rowText(const Row &row)
{
    std::string text = "row " + std::to_string(row.rowId);
    const auto add = [&](const char *what, const char *column) {
        const std::string value = row.text(column);
        text += std::string(", ") + what + " " + (value.empty() ? "none" : value);
    };
    add("interface", "interfaceName");
    add("ports", "fwdMap");
    add("untagged", "untagMap");
    if (toInt(row.text("inSwitchOnly")) != 0)
        text += ", switch only";
    return text;
}

bool hasWord(const std::string &line, const std::string &word)
{
    return (" " + line + " ").find(" " + word + " ") != std::string::npos;
}

// About the rows of these VLANs, or about others because of them.
std::vector<Finding> findingsOf(const Inspection &inspection, const std::set<int> &vlanIds)
{
    std::vector<Finding> findings;
    for (const Finding &finding : inspection.findings)
        if (std::any_of(vlanIds.begin(), vlanIds.end(), [&](int id) {
                return finding.name == vlanText(id) || hasWord(finding.message, vlanText(id));
            }))
            findings.push_back(finding);
    return findings;
}

// Of the lines that failed last those that are about these sub-interfaces.
void kernelReasons(const Inspection &inspection, const std::set<int> &vlanIds,
                   std::vector<std::string> &reasons)
{
    if (!inspection.actual.engine.held)
        return;
    for (const std::string &line : inspection.actual.engine.held->others)
        for (const Row &row : inspection.vlanRows) {
            const std::string id = row.text("vlanId");
            std::string added = row.text("interfaceName") + " ";
            added += id;
            std::string sub = row.text("interfaceName") + ".";
            sub += id;
            if (vlanIds.contains(toInt(id)) && line.find("vconfig rem ") == std::string::npos &&
                (hasWord(line, sub) || hasWord(line, added)))
                reasons.push_back(line);
        }
}

// Why a start does not get as far as these VLANs.
void stopReasons(const Inspection &inspection, const std::set<int> &vlanIds,
                 std::vector<std::string> &reasons)
{
    const std::optional<Stop> &stop = inspection.network.stop;
    if (!stop || std::none_of(stop->vlans.begin(), stop->vlans.end(),
                              [&](int id) { return vlanIds.contains(id); }))
        return;
    reasons.push_back("a fresh start stops before it, at row " + std::to_string(stop->row) +
                      " of " + stop->table + (stop->name.empty() ? "" : ", " + stop->name));
    reasons.insert(reasons.end(), stop->reasons.begin(), stop->reasons.end());
}

std::vector<std::string> reasonsOf(const Inspection &inspection, const std::set<int> &vlanIds)
{
    std::vector<std::string> reasons;
    stopReasons(inspection, vlanIds, reasons);
    kernelReasons(inspection, vlanIds, reasons);
    return reasons;
}

std::string partOf(const Chip &chip, int vlanId, int port)
{
    const ChipVlan entry = entryOf(chip, vlanId);
    return partText((entry.fwdMap & portBit(port)) != 0, (entry.untagMap & portBit(port)) != 0);
}

// What has the rows name the port as a member.
std::string remedyOf(const Inspection &inspection, const PortExplanation &all,
                     const std::string &interface)
{
    const std::string id = std::to_string(all.vlanId);
    if (all.rows.empty())
        return "swctl vlan add " + id + " --interface " + interface + " --ports " +
               std::to_string(all.port.number);
    return "swctl vlan set " + id + " --ports " +
           listOf(maskOf(inspection.rowsOf(all.vlanId).front().text("fwdMap")) |
                  portBit(all.port.number));
}

void explainChipPort(const Inspection &inspection, PortExplanation &all)
{
    const int port = all.port.number;
    const auto at = static_cast<size_t>(port);
    const Part<Chip> &held = inspection.actual.chip;
    const Chip &judged = held.held ? *held.held : inspection.target.chip;
    all.basis = held.held ? "what the chip holds" : "a fresh start, since the chip was not read";
    all.read = held.held.has_value();
    all.wanted = partOf(inspection.target.chip, all.vlanId, port);
    all.held = held.held ? partOf(*held.held, all.vlanId, port) : "not read: " + held.reason;
    all.tagged = chipFate(inspection, judged, port, all.vlanId);
    all.untagged = chipFate(inspection, judged, port, judged.ports[at].pvid);
    // The driver cannot be asked for this; a start sets it for every port.
    if (inspection.start->state().chip.ports[at].dropNon8021q != 0 &&
        all.untagged.unknown.empty()) {
        all.untagged = {};
        all.untagged.dropped = "the port is untagged in no VLAN and takes tagged frames alone";
    }
    const ChipVlan entry = entryOf(judged, all.vlanId);
    if ((entry.fwdMap & portBit(port)) != 0)
        all.sends = (entry.untagMap & portBit(port)) != 0 ? "without tag" : "tagged";
    const std::set<int> concerned{all.vlanId, inspection.target.chip.ports[at].pvid,
                                  judged.ports[at].pvid};
    for (const Difference &difference : inspection.differences)
        if (difference.kind == DifferenceKind::defaultTag ? difference.port == port
                                                          : concerned.contains(difference.vlanId))
            all.differs.push_back(difference);
    if ((entryOf(inspection.target.chip, all.vlanId).fwdMap & portBit(port)) == 0)
        all.remedy = remedyOf(inspection, all, "IF");
}

void explainEnginePort(const Inspection &inspection, PortExplanation &all)
{
    const EngineVlan vlan = inspection.engineOf(all.vlanId);
    const uint32_t bit = portBit(all.port.number);
    const Part<EngineFacts> &facts = inspection.actual.engine;
    all.basis = "a fresh start, since the engine's tools have no query";
    all.wanted = partText((vlan.members & bit) != 0, (vlan.tagged & bit) == 0);
    all.held = !facts.held                               ? "not known: " + facts.reason
               : facts.held->failed.contains(all.vlanId) ? "not known; by the log a tool failed"
                                                         : "not known; by the log no tool failed";
    if (!facts.held)
        all.unread.push_back("engine: " + facts.reason);
    all.tagged = engineFate(inspection, all.port.number, all.vlanId);
    all.untagged.unknown = "the engine's tools set no default tag";
    if ((vlan.members & bit) != 0)
        all.sends = (vlan.tagged & bit) != 0 ? "tagged" : "without tag";
    for (const Difference &difference : inspection.differences)
        if (difference.vlanId == all.vlanId && difference.kind != DifferenceKind::defaultTag)
            all.differs.push_back(difference);
}

std::string stateOf(const Kernel &kernel, const std::string &name)
{
    const auto found = kernel.interfaces.find(name);
    return found != kernel.interfaces.end() ? stateText(found->second) : "none";
}

SubInterfaceState subInterface(const Inspection &inspection, const std::string &name, int vlanId)
{
    const Part<Kernel> &kernel = inspection.actual.kernel;
    const Chip &chip =
        inspection.actual.chip.held ? *inspection.actual.chip.held : inspection.target.chip;
    SubInterfaceState sub;
    sub.name = name;
    sub.vlanId = vlanId;
    sub.wanted = stateOf(inspection.target.kernel, name);
    sub.held = kernel.held ? stateOf(*kernel.held, name) : "not read";
    if (const auto other = inspection.actual.foreign.find(name);
        other != inspection.actual.foreign.end())
        sub.held = stateText(other->second) + ", made by others";
    if (!inspection.target.bridge.name.empty())
        sub.bridge = inspection.actual.bridge.held
                         ? bridgeText(*inspection.actual.bridge.held, vlanId)
                         : "not read";
    ChipVlan entry = entryOf(chip, vlanId);
    const auto host = static_cast<uint16_t>(hostPorts(inspection.network, vlanId) & entry.fwdMap);
    sub.hostPorts = membersText({host, static_cast<uint16_t>(entry.untagMap & host)});
    const auto others = static_cast<uint16_t>(entry.fwdMap & ~host);
    sub.ports = membersText({others, static_cast<uint16_t>(entry.untagMap & others)});
    return sub;
}

// Name and VLAN of the parent's sub-interfaces that should be there or are.
std::map<std::string, int> subInterfacesOf(const Inspection &inspection, const std::string &parent)
{
    std::map<std::string, int> names;
    for (const auto &[name, sub] : inspection.target.kernel.interfaces)
        if (sub.parent == parent)
            names[name] = sub.vlanId;
    if (inspection.actual.kernel.held)
        for (const auto &[name, sub] : inspection.actual.kernel.held->interfaces)
            if (sub.parent == parent)
                names[name] = sub.vlanId;
    for (const auto &[name, sub] : inspection.actual.foreign)
        if (sub.parent == parent)
            names[name] = sub.vlanId;
    for (const Row &row : inspection.vlanRows)
        if (row.text("interfaceName") == parent)
            names[parent + "." + row.text("vlanId")] = toInt(row.text("vlanId"));
    return names;
}

} // namespace

PortExplanation explainPort(const Inspection &inspection, const PortName &port, int vlanId)
{
    PortExplanation all;
    all.port = port;
    all.vlanId = vlanId;
    for (const Row &row : inspection.rowsOf(vlanId))
        all.rows.push_back(rowText(row));
    all.findings = findingsOf(inspection, {vlanId});
    all.reasons = reasonsOf(inspection, {vlanId});
    all.unread = inspection.unread;
    if (port.backend == Backend::chip)
        explainChipPort(inspection, all);
    else if (port.backend == Backend::engine)
        explainEnginePort(inspection, all);
    else if (!explainBridgePort(inspection, all))
        all.remedy = remedyOf(inspection, all, printable(inspection.target.bridge.name));
    return all;
}

InterfaceExplanation explainInterface(const Inspection &inspection,
                                      const std::vector<Row> &portRows, const std::string &name)
{
    InterfaceExplanation all;
    all.name = name;
    const size_t dot = name.rfind('.');
    const std::string number = dot != std::string::npos ? name.substr(dot + 1) : "";
    const bool isSub = !number.empty() && number == std::to_string(toInt(number)) &&
                       (inspection.interfaces.contains(name.substr(0, dot)) ||
                        subInterfacesOf(inspection, name.substr(0, dot)).contains(name));
    all.parent = isSub ? name.substr(0, dot) : name;
    all.exists = inspection.interfaces.contains(all.parent);
    for (const Row &row : portRows)
        if (row.text("interfaceName") == all.parent)
            all.ports.push_back("port " + row.text("portNumber") + " of " + row.text("switchName"));
    std::set<int> ids;
    for (const auto &[sub, id] : subInterfacesOf(inspection, all.parent))
        if (!isSub || sub == name) {
            all.subs.push_back(subInterface(inspection, sub, id));
            ids.insert(id);
        }
    for (const Difference &difference : inspection.differences)
        if (ids.contains(difference.vlanId) &&
            (difference.kind != DifferenceKind::subInterface || difference.parent == all.parent))
            all.differs.push_back(difference);
    all.findings = findingsOf(inspection, ids);
    all.reasons = reasonsOf(inspection, ids);
    all.unread = inspection.unread;
    return all;
}

} // namespace swctl
