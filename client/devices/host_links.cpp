#include "client/devices/host_links.h"

#include "client/base/number.h"
#include "client/base/state_file.h"
#include "client/base/text.h"
#include "client/devices/vlan_links.h"
#include "common/clock.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace swctl {
namespace {

// The id of "VLAN.<id>.Uptime"; -1 for any other name.
int uptimeVlan(const std::string &name)
{
    const std::string start = "VLAN.";
    if (name.compare(0, start.size(), start) != 0)
        return -1;
    const int vlanId = toInt(name.substr(start.size()));
    return name == start + std::to_string(vlanId) + ".Uptime" ? vlanId : -1;
}

// In a persistent folder a record outlives the boot whose interfaces it describes.
bool isOfThisBoot(int folder, const char *name)
{
    const int64_t boot = millisecondsNow(CLOCK_REALTIME) - millisecondsNow(CLOCK_BOOTTIME);
    struct stat about = {};
    return fstatat(folder, name, &about, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(about.st_mode) &&
           about.st_mtim.tv_sec >= boot / 1000;
}

// A missing folder means no records; an unreadable one is reported.
void readUptimeFiles(const std::string &path, Part<Kernel> &part)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(path.c_str()), closedir);
    if (folder == nullptr && errno != ENOENT)
        part.reason = "uptime records in " + printable(path) + ": " + strerror(errno);
    while (const dirent *entry = folder != nullptr ? readdir(folder.get()) : nullptr) {
        const int vlanId = uptimeVlan(entry->d_name);
        if (vlanId >= 0 && isOfThisBoot(dirfd(folder.get()), entry->d_name))
            part.held->uptimeFiles.insert(vlanId);
    }
}

} // namespace

Part<Kernel> readKernel(const Site &site)
{
    Part<Kernel> part;
    if (site.engineState.empty()) {
        part = vlanLinksRead();
    } else {
        const StateFile file = readStateFile(site.engineState);
        part.reason = file.reason;
        if (file.state != nullptr)
            part.held = kernelOf(*file.state);
        else if (file.reason.empty())
            part.held.emplace();
    }
    if (part.held)
        readUptimeFiles(site.uptimeFolder, part);
    return part;
}

void compareKernel(const Kernel &wanted, const Kernel &actual, std::vector<Difference> &all)
{
    const auto differ = [&](const SubInterface &about, const std::string &should,
                            const std::string &found) {
        Difference &difference = all.emplace_back();
        difference.kind = DifferenceKind::subInterface;
        difference.vlanId = about.vlanId;
        difference.parent = about.parent;
        difference.wanted = should;
        difference.found = found;
    };
    for (const auto &[name, should] : wanted.interfaces) {
        const auto found = actual.interfaces.find(name);
        if (found == actual.interfaces.end())
            differ(should, stateText(should), "missing");
        else if (!(found->second == should))
            differ(should, stateText(should), stateText(found->second));
    }
    for (const auto &[name, found] : actual.interfaces)
        if (!wanted.interfaces.contains(name))
            differ(found, "none", stateText(found));
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

} // namespace swctl
