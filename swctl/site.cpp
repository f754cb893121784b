// Finds and reads site.json; see the header.
#include "swctl/site.h"

#include "swctl/journal.h"
#include "swctl/json.h"
#include "swctl/outcome.h"
#include "swctl/text.h"

#include <ifaddrs.h>
#include <netpacket/packet.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace swctl {
namespace {

constexpr size_t mostSite = 1024 * 1024; // bytes

std::string folderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

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

HardwareAddress addressOf(const std::string &text)
{
    HardwareAddress address{};
    unsigned bytes[6] = {};
    if (sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x", &bytes[0], &bytes[1], &bytes[2], &bytes[3],
               &bytes[4], &bytes[5]) != 6)
        throw std::invalid_argument("'" + text + "' is no hardware address");
    for (size_t i = 0; i < address.size(); ++i)
        address[i] = static_cast<uint8_t>(bytes[i]);
    return address;
}

Site readSite(const std::string &path)
{
    const std::optional<std::string> text = fileContents(path, mostSite);
    if (!text)
        throw Failure(exitUsage, "site " + printable(path) + ": there is no such file");
    try {
        const Json json = Json::parse(*text);
        const std::string folder = folderOf(path);
        Site site;
        const Json devices = json.value("devices", Json::object());
        for (const auto &[device, place] : devices.items())
            site.devices[device] = placed(folder, place.get<std::string>());
        if (json.contains("interfaces")) {
            site.interfaces.emplace();
            for (const auto &[name, address] : json["interfaces"].items())
                (*site.interfaces)[name] = addressOf(address.get<std::string>());
        }
        site.engineState = placed(folder, json.value("engineState", ""));
        site.uptimeFolder = placed(folder, json.value("uptime", site.uptimeFolder));
        return site;
    } catch (const std::exception &error) {
        throw Failure(exitUsage, "site " + printable(path) + ": " + printable(error.what()));
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
    for (const std::string &folder : {folderOf(databasePath), folderOf(relay)})
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
