#include "client/devices/bridge.h"

#include "client/base/json.h"
#include "client/base/number.h"
#include "client/base/program.h"
#include "client/base/text.h"
#include "client/rehearse/rehearsal.h"

#include <sys/utsname.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <vector>

namespace swctl {
namespace {

using Words = std::vector<std::string>;

Words wordsOf(std::string_view line)
{
    std::istringstream rest{std::string(line)};
    Words words;
    for (std::string word; rest >> word;)
        words.push_back(word);
    return words;
}

bool begins(const Words &words, std::initializer_list<const char *> wanted)
{
    return words.size() >= wanted.size() && std::equal(wanted.begin(), wanted.end(), words.begin());
}

// "bridge vlan add dev lan1 vid 10 pvid untagged"
constexpr size_t interfacePlace = 4;
constexpr size_t idPlace = 6;

void takeVlan(const Words &words, Bridge &bridge)
{
    if (words.size() <= idPlace)
        return;
    const int id = toInt(words[idPlace]);
    if (words[2] == "del") {
        bridge.vlans[id].erase(words[interfacePlace]);
        return;
    }
    const bool untagged = words.back() == "untagged";
    if (untagged) // a port has one VLAN for frames without a tag
        for (auto &[other, members] : bridge.vlans)
            if (const auto found = members.find(words[interfacePlace]);
                found != members.end() && found->second == Tagging::untagged)
                found->second = Tagging::untaggedOut;
    bridge.vlans[id][words[interfacePlace]] = untagged ? Tagging::untagged : Tagging::tagged;
}

// "ip link set dev lan1 master br0", "ip link set dev br0 type bridge vlan_filtering 1"
void takeSetting(const Words &words, Bridge &bridge)
{
    const std::string &value = words.back();
    if (words.size() == interfacePlace + 2 && value == "up")
        bridge.links[words[interfacePlace]].up = true;
    else if (words[interfacePlace + 1] == "master")
        bridge.links[words[interfacePlace]].master = value;
    else if (words[words.size() - 2] == "vlan_filtering")
        bridge.filtering = value == "1";
    else if (words[words.size() - 2] == "mcast_snooping")
        bridge.snooping = value == "1";
}

void takeLine(const Words &words, Bridge &bridge)
{
    if (begins(words, {"ip", "link", "add", "name"}) && words.size() > interfacePlace) {
        bridge.name = words[interfacePlace];
        bridge.links[bridge.name];
    } else if (begins(words, {"ip", "link", "set", "dev"}) && words.size() > interfacePlace + 1) {
        takeSetting(words, bridge);
    } else if (begins(words, {"bridge", "vlan"})) {
        takeVlan(words, bridge);
    }
}

Tagging taggingOf(const Json &flags)
{
    bool in = false;
    bool out = false;
    for (const Json &flag : flags) {
        in = in || flag == "PVID";
        out = out || flag == "Egress Untagged";
    }
    return in && out ? Tagging::untagged
           : in      ? Tagging::untaggedIn
           : out     ? Tagging::untaggedOut
                     : Tagging::tagged;
}

// What one of iproute2's programs prints as JSON.
Part<Json> listOf(const std::vector<std::string> &words)
{
    Part<Json> part;
    std::string line;
    for (const std::string &word : words)
        line += (line.empty() ? "'" : " ") + word;
    line += "'";
    const std::optional<std::string> output = outputOf(words);
    if (output)
        part.held = Json::parse(*output, nullptr, /*allow_exceptions=*/false);
    if (!output)
        part.reason = line + " fails; is iproute2 there?";
    else if (!part.held->is_array())
        part.reason = line + " prints no JSON";
    if (!part.reason.empty())
        part.held.reset();
    return part;
}

std::optional<bool> settingOf(const Json &link, const char *name)
{
    const Json info = link.value("linkinfo", Json::object());
    if (info.value("info_kind", "") != "bridge")
        return std::nullopt;
    const Json data = info.value("info_data", Json::object());
    const auto found = data.find(name);
    return found != data.end() && found->is_number() ? std::optional(*found != 0) : std::nullopt;
}

void takeLinks(const Json &all, const std::set<std::string> &ports, Bridge &bridge)
{
    for (const Json &link : all) {
        const std::string name = link.value("ifname", "");
        if (name == bridge.name) {
            bridge.filtering = settingOf(link, "vlan_filtering");
            bridge.snooping = settingOf(link, "mcast_snooping");
        }
        const std::string master = link.value("master", "");
        const Json flags = link.value("flags", Json::array());
        if (name == bridge.name || master == bridge.name || ports.contains(name))
            bridge.links[name] = {master,
                                  std::find(flags.begin(), flags.end(), "UP") != flags.end()};
    }
}

// The kernel's configuration has this line; none: it has no such file.
std::optional<bool> configured(const std::string &wanted)
{
    utsname system{};
    uname(&system);
    for (const std::string &file :
         {std::string("/proc/config.gz"), std::string("/boot/config-") + system.release})
        if (const std::optional<std::string> text =
                std::filesystem::exists(file) ? outputOf({"zcat", "-f", file}) : std::nullopt)
            return ("\n" + *text).find("\n" + wanted + "\n") != std::string::npos;
    return std::nullopt;
}

} // namespace

Bridge bridgeOf(const std::vector<Event> &events)
{
    Bridge bridge;
    for (const Event &event : events)
        if (event.kind == rehearsal::Kind::command && event.number == 0)
            takeLine(wordsOf(event.data), bridge);
    std::erase_if(bridge.vlans, [](const auto &vlan) { return vlan.second.empty(); });
    return bridge;
}

Part<Bridge> readBridge(const std::string &name, const std::set<std::string> &ports)
{
    Part<Bridge> part;
    const Part<Json> links = listOf({"ip", "-j", "-d", "link", "show"});
    const Part<Json> vlans = links.held ? listOf({"bridge", "-j", "vlan", "show"}) : Part<Json>();
    part.reason = links.reason + vlans.reason;
    if (!vlans.held)
        return part;
    Bridge bridge;
    bridge.name = name;
    takeLinks(*links.held, ports, bridge);
    for (const Json &link : *vlans.held) {
        const std::string interface = link.value("ifname", "");
        const auto found = bridge.links.find(interface);
        if (found == bridge.links.end() || (interface != name && found->second.master != name))
            continue;
        auto &held = interface == name || ports.contains(interface) ? bridge.vlans : bridge.foreign;
        for (const Json &vlan : link.value("vlans", Json::array())) {
            const int first = vlan.value("vlan", 0);
            const int last = vlan.value("vlanEnd", first);
            for (int id = first; id <= last; ++id)
                held[id][interface] = taggingOf(vlan.value("flags", Json::array()));
        }
    }
    part.held = std::move(bridge);
    return part;
}

std::optional<bool> bridgesFilter()
{
    std::error_code ignored;
    for (const auto &entry : std::filesystem::directory_iterator("/sys/class/net", ignored))
        if (std::filesystem::exists(entry.path() / "bridge", ignored))
            return std::filesystem::exists(entry.path() / "bridge/vlan_filtering", ignored);
    return configured("CONFIG_BRIDGE_VLAN_FILTERING=y");
}

int untaggedVlan(const Bridge &bridge, const std::string &interface)
{
    for (const auto &[id, members] : bridge.vlans)
        if (const auto found = members.find(interface);
            found != members.end() &&
            (found->second == Tagging::untagged || found->second == Tagging::untaggedIn))
            return id;
    return 0;
}

std::string bridgeText(const Bridge &bridge, int vlanId)
{
    constexpr const char *marks[] = {" T", " U", " u", " p"};
    const auto found = bridge.vlans.find(vlanId);
    std::string text;
    if (found != bridge.vlans.end())
        for (const auto &[name, tagging] : found->second) {
            text += text.empty() ? "" : ", ";
            text += printable(name);
            text += name == bridge.name ? "" : marks[static_cast<size_t>(tagging)];
        }
    return text.empty() ? "-" : text;
}

std::string linkText(const Bridge &bridge, const std::string &interface)
{
    const auto found = bridge.links.find(interface);
    if (found == bridge.links.end())
        return noLink;
    const std::string master = found->second.master;
    std::string text =
        interface != bridge.name ? "in " + (master.empty() ? "no bridge" : printable(master))
        : !bridge.filtering      ? "no VLAN filtering"
                            : std::string("VLAN filtering ") + (*bridge.filtering ? "on" : "off");
    return text + (found->second.up ? ", up" : ", down");
}

} // namespace swctl
