#include "client/devices/device.h"

#include "client/base/port_mask.h"

namespace swctl {

Difference entryDifference(const Device &device, int vlanId, std::string wanted, std::string found)
{
    Difference difference;
    difference.kind = DifferenceKind::entry;
    difference.part = device.part;
    difference.byQuery = device.hasQuery;
    difference.vlanId = vlanId;
    difference.wanted = std::move(wanted);
    difference.found = std::move(found);
    return difference;
}

FrameFate forwarded(int port, int vlanId, const VlanEntry &entry, uint32_t reach)
{
    FrameFate fate;
    fate.vlanId = vlanId;
    const uint32_t to = entry.members & reach & ~portBit(port);
    if (entry.members == 0)
        fate.dropped = vlanText(vlanId) + " does not exist";
    else if ((entry.members & portBit(port)) == 0)
        fate.dropped = "port " + std::to_string(port) + " is not a member of " + vlanText(vlanId);
    else if (to == 0)
        fate.dropped = vlanText(vlanId) + " has no other port to forward to";
    else
        fate.to = to;
    fate.bare = fate.to & entry.untagged;
    fate.host = (fate.to & entry.host) != 0;
    return fate;
}

void checkUntagged(const Configuration &all, size_t row, uint32_t members, int ports,
                   std::vector<RowFault> &faults)
{
    const uint32_t untagged = all.vlans[row].untagged.mask;
    for (int port = 0; port < ports; ++port) {
        if ((untagged & portBit(port)) == 0)
            continue;
        const std::string number = std::to_string(port);
        if ((members & portBit(port)) == 0)
            faults.push_back({"untag-without-membership", &all.vlanTable, row, number,
                              "port " + number + " is in untagMap but not in fwdMap"});
        for (size_t earlier = row; earlier-- > 0;)
            if ((all.vlans[earlier].untagged.mask & portBit(port)) != 0) {
                faults.push_back({"untag-twice", &all.vlanTable, row, number,
                                  "port " + number + " is also untagged in VLAN " +
                                      std::to_string(all.vlans[earlier].id)});
                break;
            }
    }
}

} // namespace swctl
