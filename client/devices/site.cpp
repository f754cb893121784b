#include "client/devices/site.h"

#include "client/base/failure.h"
#include "client/base/file.h"
#include "client/base/text.h"
#include "common/json.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace swctl {
namespace {

constexpr size_t mostSite = 1024 * 1024; // bytes
constexpr size_t mostDevices = 64;
constexpr size_t mostInterfaces = 4096;
constexpr size_t longestPath = 4095;  // bytes, as in Linux
constexpr size_t longestReason = 300; // bytes

std::string environment(const char *name)
{
    const char *value = getenv(name);
    return value != nullptr ? value : "";
}

// Paths in the file are relative to it.
std::string placed(const std::string &folder, const std::string &path)
{
    return path.empty() || path.front() == '/' ? path : folder + path;
}

[[noreturn]] void refuse(const std::string &what)
{
    throw std::invalid_argument(what);
}

HardwareAddress addressOf(const std::string &text)
{
    HardwareAddress address{};
    for (size_t i = 0; i < address.size(); ++i) {
        const char *pair = text.c_str() + 3 * i; // not read unless the length fits
        if (text.size() != 3 * address.size() - 1 || isxdigit(static_cast<uint8_t>(pair[0])) == 0 ||
            isxdigit(static_cast<uint8_t>(pair[1])) == 0 || (i != 0 && pair[-1] != ':'))
            refuse("'" + text + "' is not a hardware address");
        address[i] = static_cast<uint8_t>(strtoul(pair, nullptr, 16));
    }
    return address;
}

std::string textOf(const std::string &name, const Json &value)
{
    std::string text = value.isText() ? value.text() : std::string();
    if (text.empty() || text.size() > longestPath || text.find('\0') != std::string::npos)
        refuse("'" + name + "' needs a string of 1 to " + std::to_string(longestPath) +
               " characters");
    return text;
}

// Calls `take` for each member of the object `value`; refuses more than `most`.
template <class Take>
void eachMember(const std::string &name, const Json &value, size_t most, const Take &take)
{
    if (!value.isObject() || value.members().size() > most)
        refuse("'" + name + "' needs an object with at most " + std::to_string(most) + " members");
    for (const auto &[member, of] : value.members())
        take(member, of);
}

void takeInterface(const std::string &name, const Json &address, Interfaces &interfaces)
{
    if (name.empty() || name.size() >= IFNAMSIZ ||
        name.find_first_of(" \t\n/") != std::string::npos)
        refuse("'" + name + "' is not an interface name");
    interfaces[name] = addressOf(textOf(name, address));
}

Site siteOf(const Json &json, const std::string &folder)
{
    Site site;
    eachMember("site", json, /*most=*/4, [&](const std::string &name, const Json &value) {
        if (name == "devices")
            eachMember(name, value, mostDevices, [&](const std::string &device, const Json &path) {
                site.devices[device] = placed(folder, textOf(device, path));
            });
        else if (name == "interfaces")
            eachMember(name, value, mostInterfaces,
                       [&all = site.interfaces.emplace()](const std::string &one, const Json &at) {
                           takeInterface(one, at, all);
                       });
        else if (name == "engineState")
            site.engineState = placed(folder, textOf(name, value));
        else if (name == "uptime")
            site.uptimeFolder = placed(folder, textOf(name, value));
        else
            refuse("unknown member '" + name + "'");
    });
    return site;
}

Site readSite(const std::string &path)
{
    const std::optional<std::string> text = fileContents(path, mostSite);
    if (!text)
        throw Failure(exitUsage, "site " + printable(path) + ": no such file");
    try {
        return siteOf(Json::parse(*text), folderOf(path));
    } catch (const std::exception &error) {
        std::string_view what = error.what();
        if (what.starts_with('[')) // messages of the parser begin with "[...] "
            what.remove_prefix(std::min(what.size(), what.find("] ") + 2));
        throw Failure(exitUsage,
                      "site " + printable(path) + ": " + printable(what.substr(0, longestReason)));
    }
}

} // namespace

std::string Site::devicePath(const std::string &device) const
{
    const auto found = devices.find(device);
    return found != devices.end() ? found->second : device;
}

Site findSite(const std::string &databasePath, const std::string &explicitFile)
{
    const std::string named = !explicitFile.empty() ? explicitFile : environment("SWMGR_SITE");
    if (!named.empty())
        return readSite(named);
    std::string relay = environment("RELAY_DIR");
    while (!relay.empty() && relay.back() == '/')
        relay.pop_back();
    std::vector<std::string> folders{folderOf(databasePath)};
    if (!relay.empty()) // without it the parent would be the current directory
        folders.push_back(folderOf(relay));
    for (const std::string &folder : folders)
        if (access((folder + "site.json").c_str(), F_OK) == 0)
            return readSite(folder + "site.json");
    return {};
}

Interfaces interfacesOf(const Site &site)
{
    if (site.interfaces)
        return *site.interfaces;
    Interfaces interfaces;
    ifaddrs *all = nullptr;
    if (getifaddrs(&all) != 0)
        return interfaces;
    for (const ifaddrs *one = all; one != nullptr; one = one->ifa_next) {
        if (one->ifa_addr == nullptr || one->ifa_addr->sa_family != AF_PACKET)
            continue;
        sockaddr_ll link;
        memcpy(&link, one->ifa_addr, sizeof(link));
        HardwareAddress &address = interfaces[one->ifa_name];
        memcpy(address.data(), link.sll_addr, address.size());
    }
    freeifaddrs(all);
    return interfaces;
}

} // namespace swctl
