#include "client/view/explain.h"

#include "client/base/number.h"
#include "client/base/port_mask.h"
#include "client/base/text.h"
#include "client/devices/host_links.h"
#include "client/gateway/devices.h"

#include <algorithm>
#include <tuple>

namespace swctl {
namespace {

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

// Findings about the rows of these VLANs, or that mention them.
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

// Adds the failed commands that concern these VLANs' sub-interfaces.
void kernelReasons(const Inspection &inspection, const std::set<int> &vlanIds,
                   std::vector<std::string> &reasons)
{
    if (!inspection.actual.tools.held)
        return;
    for (const std::string &line : inspection.actual.tools.held->others)
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

// Adds why a start stops before it reaches these VLANs.
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

// The command that makes the port a member in the rows.
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

// By VLAN, the device's ports that connect it to the host.
std::map<int, uint32_t> hostPortsOf(const Network &network, const Device &device)
{
    std::map<int, uint32_t> ports;
    for (const VlanConfig &vlan : network.vlans)
        ports[vlan.id] |= device.hostPorts(vlan.interfaceName, vlan.switchOnly);
    return ports;
}

PortAnswer answerOf(const Inspection &inspection, const PortName &name, int vlanId)
{
    PortQuestion question{.port = {name.number, {}},
                          .vlanId = vlanId,
                          .ports = {},
                          .hostPorts = hostPortsOf(inspection.network, *name.device),
                          .wanted = inspection.target.of(*name.device),
                          .actual = inspection.actual.of(*name.device),
                          .differences = inspection.differences,
                          .unknownMode = {}};
    for (const UnknownSetting &setting : unknownSettings(inspection.target, inspection.actual))
        if (setting.wanted->name == std::string_view(vlanModeName) &&
            setting.wanted->part == std::string_view(name.device->part))
            question.unknownMode = textsOf({setting}).front();
    for (const SwitchConfig &sw : inspection.network.switches)
        if (sw.name == name.switchName)
            question.ports.assign(sw.ports.begin(), sw.ports.end());
    for (const DevicePort &port : question.ports)
        if (port.number == name.number)
            question.port = port;
    return name.device->explain(question);
}

std::string stateOf(const Kernel &kernel, const std::string &name)
{
    const auto found = kernel.interfaces.find(name);
    return found != kernel.interfaces.end() ? stateText(found->second) : "none";
}

// How frames reach the sub-interface: through the last device that delivers them to the host.
HostSide hostSideOf(const Inspection &inspection, int vlanId)
{
    HostSide all;
    for (const Device *device : devices()) {
        const DeviceState &wanted = inspection.target.of(*device);
        const DeviceState *held = inspection.actual.of(*device).held.get();
        const std::map<int, uint32_t> ports = hostPortsOf(inspection.network, *device);
        const auto found = ports.find(vlanId);
        HostSide side = (held != nullptr ? *held : wanted)
                            .hostSide(vlanId, found != ports.end() ? found->second : 0);
        if (!side.text.empty())
            all.text = side.text;
        if (!side.ports.empty())
            std::tie(all.ports, all.hostPorts) = std::pair(side.ports, side.hostPorts);
    }
    return all;
}

SubInterfaceState subInterface(const Inspection &inspection, const std::string &name, int vlanId)
{
    const Part<Kernel> &kernel = inspection.actual.kernel;
    SubInterfaceState sub;
    sub.name = name;
    sub.vlanId = vlanId;
    sub.wanted = stateOf(inspection.target.kernel, name);
    sub.held = kernel.held ? stateOf(*kernel.held, name) : "not read";
    if (const auto other = inspection.actual.foreign.find(name);
        other != inspection.actual.foreign.end())
        sub.held = stateText(other->second) + ", not made by the switch manager";
    sub.gets = hostSideOf(inspection, vlanId);
    return sub;
}

// Names and VLANs of the parent's wanted and actual sub-interfaces.
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
    all.answer = answerOf(inspection, port, vlanId);
    all.answer.unread.insert(all.answer.unread.begin(), inspection.unread.begin(),
                             inspection.unread.end());
    if (!all.answer.remedyInterface.empty())
        all.remedy = remedyOf(inspection, all, all.answer.remedyInterface);
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
