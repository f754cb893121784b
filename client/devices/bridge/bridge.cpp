#include "client/devices/bridge/bridge.h"

#include "client/base/number.h"
#include "client/base/program.h"
#include "client/base/text.h"
#include "client/rehearse/rehearsal.h"
#include "common/json.h"

#include <dirent.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace swctl {
namespace {

using Words = std::vector<std::string>;

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
    if (untagged) // a port has only one PVID
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

// The value of a member; a JSON null if there is none.
const Json &memberOf(const Json &json, const char *name)
{
    static const Json none;
    const Json *value = json.isObject() ? json.find(name) : nullptr;
    return value != nullptr ? *value : none;
}

std::string textOf(const Json &json, const char *name)
{
    const Json &value = memberOf(json, name);
    return value.isText() ? value.text() : std::string();
}

int numberOf(const Json &json, const char *name, int otherwise)
{
    const Json &value = memberOf(json, name);
    return value.isInteger() ? static_cast<int>(value.integer()) : otherwise;
}

// Whether the member `name` is a list that contains `text`.
bool lists(const Json &json, const char *name, std::string_view text)
{
    const Json &list = memberOf(json, name);
    return list.isArray() &&
           std::any_of(list.values().begin(), list.values().end(),
                       [&](const Json &value) { return value.isText() && value.text() == text; });
}

Tagging taggingOf(const Json &range)
{
    const bool in = lists(range, "flags", "PVID");
    const bool out = lists(range, "flags", "Egress Untagged");
    return in && out ? Tagging::untagged
           : in      ? Tagging::untaggedIn
           : out     ? Tagging::untaggedOut
                     : Tagging::tagged;
}

// The JSON array that one of iproute2's programs prints.
Part<Json> listOf(const std::vector<std::string> &words)
{
    Part<Json> part;
    std::string line;
    for (const std::string &word : words)
        line += (line.empty() ? "'" : " ") + word;
    line += "'";
    const std::optional<std::string> output = outputOf(words);
    if (!output) {
        part.reason = line + " failed; is iproute2 installed?";
        return part;
    }
    Json printed = Json::parseOrNull(*output);
    if (printed.isArray())
        part.held = std::move(printed);
    else
        part.reason = line + " did not print a JSON array";
    return part;
}

std::optional<bool> settingOf(const Json &link, const char *name)
{
    const Json &info = memberOf(link, "linkinfo");
    if (textOf(info, "info_kind") != "bridge")
        return std::nullopt;
    const Json &value = memberOf(memberOf(info, "info_data"), name);
    return value.isInteger() ? std::optional(value.integer() != 0) : std::nullopt;
}

void takeLinks(const Json &all, const std::set<std::string> &ports, Bridge &bridge)
{
    for (const Json &link : all.values()) {
        const std::string name = textOf(link, "ifname");
        if (name == bridge.name) {
            bridge.filtering = settingOf(link, "vlan_filtering");
            bridge.snooping = settingOf(link, "mcast_snooping");
        }
        const std::string master = textOf(link, "master");
        if (name == bridge.name || master == bridge.name || ports.contains(name))
            bridge.links[name] = {master, lists(link, "flags", "UP")};
    }
}

bool isThere(const std::string &path)
{
    return access(path.c_str(), F_OK) == 0;
}

// Whether the kernel's configuration contains this line; none if the file is not available.
std::optional<bool> configured(const std::string &wanted)
{
    utsname system{};
    uname(&system);
    for (const std::string &file :
         {std::string("/proc/config.gz"), std::string("/boot/config-") + system.release})
        if (const std::optional<std::string> text =
                isThere(file) ? outputOf({"zcat", "-f", file}) : std::nullopt)
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
    for (const Json &link : vlans.held->values()) {
        const std::string interface = textOf(link, "ifname");
        const auto found = bridge.links.find(interface);
        if (found == bridge.links.end() || (interface != name && found->second.master != name))
            continue;
        auto &held = interface == name || ports.contains(interface) ? bridge.vlans : bridge.foreign;
        const Json &ranges = memberOf(link, "vlans");
        for (const Json &range : ranges.isArray() ? ranges.values() : std::vector<Json>()) {
            const int first = numberOf(range, "vlan", 0);
            const int last = numberOf(range, "vlanEnd", first);
            for (int id = first; id <= last; ++id)
                held[id][interface] = taggingOf(range);
        }
    }
    part.held = std::move(bridge);
    return part;
}

std::optional<bool> bridgesFilter()
{
    const std::string all = "/sys/class/net/";
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(all.c_str()), closedir);
    while (const dirent *entry = folder != nullptr ? readdir(folder.get()) : nullptr)
        if (isThere(all + entry->d_name + "/bridge"))
            return isThere(all + entry->d_name + "/bridge/vlan_filtering");
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
