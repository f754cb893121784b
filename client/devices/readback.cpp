#include "client/devices/readback.h"

#include "backends/bcm/driver.h"
#include "client/base/failure.h"
#include "client/base/number.h"
#include "client/base/state_file.h"
#include "client/base/text.h"
#include "client/devices/vlan_links.h"
#include "client/service/log.h"
#include "client/service/request_log.h"
#include "client/service/service.h"
#include "common/clock.h"
#include "common/log_entry.h"
#include "common/tool_entry.h"
#include "platform/sal.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace swctl {
namespace {

// What the driver answered, thrown when it refuses.
struct Refusal {
    int status;
};

class ChipDevice {
public:
    explicit ChipDevice(const std::string &path) : fd(salOpen(path.c_str(), O_RDWR, /*mode=*/0))
    {
        if (fd < 0)
            throw Refusal{fd};
    }
    ~ChipDevice() { static_cast<void>(salClose(fd)); }
    ChipDevice(const ChipDevice &) = delete;
    ChipDevice &operator=(const ChipDevice &) = delete;

    template <class Record>
    int ask(BcmRequest request, Record &record) const
    {
        const int status = salIoctl(fd, request, &record);
        if (status < 0)
            throw Refusal{status};
        return status;
    }

    int ask(BcmRequest request, intptr_t argument) const
    {
        const int status =
            salIoctl(fd, request,
                     reinterpret_cast<void *>(argument)); // NOLINT: as the driver has it
        if (status < 0)
            throw Refusal{status};
        return status;
    }

private:
    int fd;
};

uint16_t readMap(const ChipDevice &device, BcmRequest request, int vlanId)
{
    uint16_t map = 0;
    for (uint16_t port = 0; port < chipPortCount; ++port) {
        BcmVlanPortRecord record{};
        record.vlanId = static_cast<uint16_t>(vlanId);
        record.port = port;
        if (device.ask(request, record) == 1)
            map = static_cast<uint16_t>(map | 1u << port);
    }
    return map;
}

void readTags(const ChipDevice &device, Chip &chip)
{
    for (uint16_t port = 0; port < chipPortCount; ++port) {
        BcmPortTagRecord record{};
        record.port = port;
        static_cast<void>(device.ask(BCM_IOC_DEFAULT_TAG_GET, record));
        chip.ports[port].pvid = record.vid;
        chip.ports[port].priority = record.priority;
        chip.ports[port].cfi = record.cfi;
    }
}

void readPort(const ChipDevice &device, uint16_t port, ChipPort &held)
{
    BcmPortStatsRecord statistics{};
    statistics.portNumber = port;
    static_cast<void>(device.ask(BCM_IOC_PORT_STATS_GET, statistics));
    std::copy(std::begin(statistics.statistics), std::end(statistics.statistics),
              held.statistics.begin());
    held.linkUp = device.ask(BCM_IOC_LINK_STATUS_GET, intptr_t{port}) != 0;
    for (uint16_t member = 0; member < chipPortCount; ++member) {
        BcmPortVlanRecord record{port, member};
        if (device.ask(BCM_IOC_PORT_VLAN_MEMBER_GET, record) != 0)
            held.forwardMap = static_cast<uint16_t>(held.forwardMap | 1u << member);
    }
}

template <class Read>
Part<Chip> readFrom(const std::string &path, const Read &read)
{
    Part<Chip> part;
    try {
        const ChipDevice device(path);
        Chip chip;
        readTags(device, chip);
        read(device, chip);
        part.held = std::move(chip);
    } catch (const Refusal &refusal) {
        part.reason = printable(path) + ": " + strerror(-refusal.status);
    }
    return part;
}

// The id of "VLAN.<id>.Uptime"; -1 for any other name.
int uptimeVlan(const std::string &name)
{
    const std::string start = "VLAN.";
    if (name.compare(0, start.size(), start) != 0)
        return -1;
    const int vlanId = toInt(name.substr(start.size()));
    return name == start + std::to_string(vlanId) + ".Uptime" ? vlanId : -1;
}

// A record outlives the interfaces of its boot where the folder is kept.
bool isOfThisBoot(int folder, const char *name)
{
    const int64_t boot = millisecondsNow(CLOCK_REALTIME) - millisecondsNow(CLOCK_BOOTTIME);
    struct stat about = {};
    return fstatat(folder, name, &about, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(about.st_mode) &&
           about.st_mtim.tv_sec >= boot / 1000;
}

// A folder that is not there holds no records; one that cannot be read is said.
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

Part<Chip> readChip(const Site &site, const std::string &device, const std::set<int> &vlanIds,
                    const Progress &progress)
{
    return readFrom(
        site.devicePath(device),
        [&](const ChipDevice &asked, Chip &chip) {
            size_t done = 0;
            for (const int id : vlanIds) {
                ChipVlan vlan;
                vlan.fwdMap = readMap(asked, BCM_IOC_VLAN_FWD_MEMBER_GET, id);
                vlan.untagMap = readMap(asked, BCM_IOC_VLAN_UNTAG_MEMBER_GET, id);
                if (!vlan.empty())
                    chip.vlans[id] = vlan;
                if (progress && ++done % 64 == 0)
                    progress(done, vlanIds.size());
            }
        });
}

Part<Chip> readChipPorts(const Site &site, const std::string &device)
{
    return readFrom(
        site.devicePath(device),
        [](const ChipDevice &asked, Chip &chip) {
            for (uint16_t port = 0; port < chipPortCount; ++port)
                readPort(asked, port, chip.ports[port]);
        });
}

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

Part<EngineFacts> readEngine()
{
    Part<EngineFacts> part;
    try {
        EngineFacts facts;
        RequestLog log;
        static_cast<void>(log.take()); // the daemon has everything by then
        if (!log.available())
            throw Failure(exitUnreachable, "nobody hears the service's log");
        const Hearing heard = failedTools([&](const LogLine &line) {
            ToolLine tool;
            ToolEntry entry;
            if (!toolLineRead(line.text.data(), line.text.size(), tool))
                return;
            toolEntryRead(tool, entry);
            std::vector<std::string> &lines =
                entry.vlanId != 0 ? facts.failed[entry.vlanId] : facts.others;
            lines.push_back(std::string(tool.line, tool.length) + " returned " +
                            std::to_string(tool.status));
        });
        part.held = std::move(facts);
        if (heard.lost != 0)
            part.reason = std::to_string(heard.lost) + " records were lost, so there may be more";
    } catch (const Failure &) {
        part.reason = "no log daemon is running that could tell which tools failed";
    }
    return part;
}

} // namespace swctl
