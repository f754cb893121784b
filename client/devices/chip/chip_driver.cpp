#include "client/devices/chip/chip_driver.h"

#include "backends/bcm/driver.h"
#include "client/base/text.h"
#include "platform/sal.h"

#include <fcntl.h>

#include <cstring>

namespace swctl {
namespace {

// Thrown with the driver's status when it refuses a request.
struct Refusal {
    int status;
};

class ChipNode {
public:
    explicit ChipNode(const std::string &path) : fd(salOpen(path.c_str(), O_RDWR, /*mode=*/0))
    {
        if (fd < 0)
            throw Refusal{fd};
    }
    ~ChipNode() { static_cast<void>(salClose(fd)); }
    ChipNode(const ChipNode &) = delete;
    ChipNode &operator=(const ChipNode &) = delete;

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
                     reinterpret_cast<void *>(argument)); // NOLINT: the driver takes a number here
        if (status < 0)
            throw Refusal{status};
        return status;
    }

private:
    int fd;
};

uint16_t readMap(const ChipNode &device, BcmRequest request, int vlanId)
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

void readTags(const ChipNode &device, Chip &chip)
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

void readPort(const ChipNode &device, uint16_t port, PortState &held)
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
        const ChipNode device(path);
        Chip chip;
        readTags(device, chip);
        read(device, chip);
        part.held = std::move(chip);
    } catch (const Refusal &refusal) {
        part.reason = printable(path) + ": " + strerror(-refusal.status);
    }
    return part;
}

} // namespace

Part<Chip> readChip(const Site &site, const std::string &device, const std::set<int> &vlanIds,
                    const Progress &progress)
{
    return readFrom(
        site.devicePath(device),
        [&](const ChipNode &asked, Chip &chip) {
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
        [](const ChipNode &asked, Chip &chip) {
            for (uint16_t port = 0; port < chipPortCount; ++port)
                readPort(asked, port, chip.ports[port]);
        });
}

} // namespace swctl
