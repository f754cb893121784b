// Asks driver, kernel and log; see the header.
#include "swctl/readback.h"

#include "backends/bcm/driver.h"
#include "common/descriptor.h"
#include "common/log_entry.h"
#include "common/tool_entry.h"
#include "devices/engine/state.h"
#include "platform/sal.h"
#include "swctl/log.h"
#include "swctl/outcome.h"
#include "swctl/request_log.h"
#include "swctl/service.h"
#include "swctl/text.h"

#include <dirent.h>
#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

namespace swctl {
namespace {

constexpr const char *vlanFolder = "/proc/net/vlan/";

// What the driver answered, thrown when it refuses.
struct Refusal {
    int status;
};

class Device {
public:
    explicit Device(const std::string &path) : fd(salOpen(path.c_str(), O_RDWR, /*mode=*/0))
    {
        if (fd < 0)
            throw Refusal{fd};
    }
    ~Device() { static_cast<void>(salClose(fd)); }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

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

uint16_t readMap(const Device &device, BcmRequest request, int vlanId)
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

void readTags(const Device &device, Chip &chip)
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

void readPort(const Device &device, uint16_t port, ChipPort &held)
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
        const Device device(path);
        Chip chip;
        readTags(device, chip);
        read(device, chip);
        part.held = std::move(chip);
    } catch (const Refusal &refusal) {
        part.reason = printable(path) + ": " + strerror(-refusal.status);
    }
    return part;
}

void readUptimeFiles(const Site &site, Kernel &kernel)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir(site.uptimeFolder.c_str()), closedir);
    if (folder == nullptr)
        return;
    while (const dirent *entry = readdir(folder.get())) {
        int vlanId = 0;
        int length = 0;
        if (sscanf(entry->d_name, "VLAN.%d.Uptime%n", &vlanId, &length) == 1 && length != 0 &&
            entry->d_name[length] == '\0')
            kernel.uptimeFiles.insert(vlanId);
    }
}

// The simulated gateway's own account, as its tools keep it.
Part<Kernel> readState(const std::string &path)
{
    Part<Kernel> part;
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat about = {};
    if (!file.valid() || fstat(file.get(), &about) != 0 ||
        about.st_size != static_cast<off_t>(sizeof(engine::State))) {
        if (!file.valid() && errno == ENOENT)
            part.held.emplace(); // no tool has run yet
        else
            part.reason = printable(path) + ": " + (file.valid() ? "no state" : strerror(errno));
        return part;
    }
    void *memory = mmap(nullptr, sizeof(engine::State), PROT_READ, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) {
        part.reason = printable(path) + ": " + strerror(errno);
        return part;
    }
    part.held = kernelOf(*static_cast<const engine::State *>(memory));
    munmap(memory, sizeof(engine::State));
    return part;
}

// "0:0  1:1 ..." after a label; a priority that is not named stays 0.
template <size_t N>
void readPriorities(const std::string &line, std::array<uint8_t, N> &map)
{
    std::istringstream pairs(line.substr(line.rfind("mappings:") + 9));
    for (std::string pair; pairs >> pair;) {
        unsigned from = 0;
        unsigned to = 0;
        if (sscanf(pair.c_str(), "%u:%u", &from, &to) == 2 && from < N)
            map[from] = static_cast<uint8_t>(to);
    }
}

bool isUp(const std::string &name)
{
    ifreq about = {};
    name.copy(about.ifr_name, sizeof(about.ifr_name) - 1);
    const Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return socket.valid() && ioctl(socket.get(), SIOCGIFFLAGS, &about) == 0 &&
           (about.ifr_flags & IFF_UP) != 0;
}

SubInterface readSubInterface(const std::string &name)
{
    SubInterface sub;
    std::ifstream file(vlanFolder + name);
    for (std::string line; std::getline(file, line);) {
        const size_t id = line.find("VID: ");
        if (id != std::string::npos)
            sub.vlanId = atoi(line.c_str() + id + 5);
        if (line.starts_with("Device: "))
            sub.parent = line.substr(8);
        else if (line.starts_with("INGRESS priority mappings:"))
            readPriorities(line, sub.ingress);
        else if (line.find("EGRESS priority mappings:") != std::string::npos)
            readPriorities(line, sub.egress);
    }
    sub.up = isUp(name);
    return sub;
}

Part<Kernel> readKernelItself()
{
    Part<Kernel> part;
    std::ifstream config(std::string(vlanFolder) + "config");
    if (!config) {
        part.reason = std::string(vlanFolder) + "config: " + strerror(errno) +
                      (errno == ENOENT ? " (the kernel's VLAN support is not loaded)" : "");
        return part;
    }
    part.held.emplace();
    for (std::string line; std::getline(config, line);) {
        const size_t bar = line.find('|');
        if (bar == std::string::npos || line.starts_with("VLAN Dev name"))
            continue;
        const std::string name = line.substr(0, line.find_last_not_of(' ', bar - 1) + 1);
        part.held->interfaces[name] = readSubInterface(name);
    }
    return part;
}

} // namespace

Part<Chip> readChip(const Site &site, const std::string &device, const std::set<int> &vlanIds,
                    const Progress &progress)
{
    return readFrom(
        site.devicePath(device),
        [&](const Device &asked, Chip &chip) {
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
        [](const Device &asked, Chip &chip) {
            for (uint16_t port = 0; port < chipPortCount; ++port)
                readPort(asked, port, chip.ports[port]);
        });
}

Part<Kernel> readKernel(const Site &site)
{
    Part<Kernel> part = site.engineState.empty() ? readKernelItself() : readState(site.engineState);
    if (part.held)
        readUptimeFiles(site, *part.held);
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
        const uint64_t lost = failedTools([&](const LogLine &line) {
            ToolLine tool;
            ToolEntry entry;
            if (!toolLineRead(line.text.data(), line.text.size(), tool))
                return;
            toolEntryRead(tool, entry);
            if (entry.vlanId != 0)
                facts.failed[entry.vlanId].push_back(std::string(tool.line, tool.length) +
                                                     " returned " + std::to_string(tool.status));
        });
        part.held = std::move(facts);
        if (lost != 0)
            part.reason = std::to_string(lost) + " records were lost, so there may be more";
    } catch (const Failure &) {
        part.reason = "no log daemon is running that could tell which tools failed";
    }
    return part;
}

} // namespace swctl
