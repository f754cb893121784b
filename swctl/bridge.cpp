// Reads lines and the kernel's account of VLANs; see the header.
#include "swctl/bridge.h"

#include "swctl/json.h"
#include "swctl/number.h"
#include "swctl/rehearsal.h"
#include "swctl/text.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
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

void takeLine(const Words &words, Bridge &bridge)
{
    if (begins(words, {"ip", "link", "add", "name"}) && words.size() > interfacePlace)
        bridge.name = words[interfacePlace];
    else if (begins(words, {"ip", "link", "set", "dev"}) && words.size() > 6 &&
             words[5] == "master")
        bridge.ports.insert(words[interfacePlace]);
    else if (begins(words, {"bridge", "vlan"}))
        takeVlan(words, bridge);
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

// The program's output; none with a reason when it cannot be run or fails.
Part<std::string> outputOf(const char *line)
{
    Part<std::string> part;
    FILE *stream = popen(line, "r"); // NOLINT(cert-env33-c): the line is ours, without a name in it
    if (stream == nullptr) {
        part.reason = strerror(errno);
        return part;
    }
    std::string text;
    std::array<char, 4096> piece{};
    for (size_t got = 0; (got = fread(piece.data(), 1, piece.size(), stream)) > 0;)
        text.append(piece.data(), got);
    if (pclose(stream) == 0)
        part.held = std::move(text);
    else
        part.reason = "'bridge vlan show' fails; is iproute2 there?";
    return part;
}

} // namespace

Bridge bridgeOf(const std::vector<Happening> &happenings)
{
    Bridge bridge;
    for (const Happening &happening : happenings)
        if (happening.kind == rehearsal::Kind::command && happening.number == 0)
            takeLine(wordsOf(happening.data), bridge);
    std::erase_if(bridge.vlans, [](const auto &vlan) { return vlan.second.empty(); });
    return bridge;
}

Part<Bridge> readBridge(const Bridge &wanted)
{
    Part<Bridge> part;
    const Part<std::string> output = outputOf("bridge -j vlan show 2>/dev/null");
    part.reason = output.reason;
    if (!output.held)
        return part;
    const Json all = Json::parse(*output.held, nullptr, /*allow_exceptions=*/false);
    if (!all.is_array()) {
        part.reason = "'bridge vlan show' prints no JSON";
        return part;
    }
    Bridge bridge;
    bridge.name = wanted.name;
    for (const Json &link : all) {
        const std::string name = link.value("ifname", "");
        if (name != wanted.name && !wanted.ports.contains(name))
            continue;
        bridge.ports.insert(name);
        for (const Json &vlan : link.value("vlans", Json::array())) {
            const int first = vlan.value("vlan", 0);
            const int last = vlan.value("vlanEnd", first);
            for (int id = first; id <= last; ++id)
                bridge.vlans[id][name] = taggingOf(vlan.value("flags", Json::array()));
        }
    }
    part.held = std::move(bridge);
    return part;
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

} // namespace swctl
