// Keeps, for each of a few switches, how many listed VLANs have an id that falls
// into a bucket. A count holds only while the list is as this file left it,
// which its first and last element tell; otherwise the list is walked.
#include "vlan/vlan_list.h"

#include "platform/list_of.h"

#include <cstring>

namespace {

constexpr uint32_t bucketCount = 4096; // every VLAN id has one of its own
constexpr unsigned switchesCounted = 4;

struct IdCount {
    const Switch *sw; // none while not in use
    SalList seen;     // first and last element when the count was last right
    uint32_t listed[bucketCount];

    [[nodiscard]] bool holds(const Switch &counted) const
    {
        return sw == &counted && seen.first == counted.vlanList.first &&
               seen.last == counted.vlanList.last;
    }
    uint32_t &of(int32_t vlanId) { return listed[static_cast<uint32_t>(vlanId) % bucketCount]; }
};

constinit IdCount counts[switchesCounted] = {}; // written by append and remove
constinit unsigned nextTaken = 0;               // the count that a new switch takes over

IdCount *countOf(const Switch &sw)
{
    for (IdCount &count : counts)
        if (count.holds(sw))
            return &count;
    return nullptr;
}

// A switch whose list is still empty starts a count of its own.
IdCount *countStart(const Switch &sw)
{
    for (IdCount &stale : counts)
        if (stale.sw == &sw)
            stale.sw = nullptr;
    IdCount &count = counts[nextTaken++ % switchesCounted];
    memset(&count, 0, sizeof(count));
    count.sw = &sw;
    return &count;
}

} // namespace

void vlanListAppend(Switch &sw, SwitchVlan &vlan)
{
    IdCount *count = countOf(sw);
    if (count == nullptr && sw.vlanList.first == nullptr)
        count = countStart(sw);
    salListNodeAppend(&sw.vlanList, &vlan.link);
    if (count == nullptr)
        return;
    ++count->of(vlan.vlanId);
    count->seen = sw.vlanList;
}

void vlanListRemove(Switch &sw, SwitchVlan &vlan)
{
    IdCount *count = countOf(sw);
    salListNodeRemove(&sw.vlanList, &vlan.link);
    if (count == nullptr)
        return;
    --count->of(vlan.vlanId);
    count->seen = sw.vlanList;
}

SwitchVlan *vlanListFind(Switch &sw, int32_t vlanId)
{
    IdCount *count = countOf(sw);
    if (count != nullptr && count->of(vlanId) == 0)
        return nullptr;
    for (SwitchVlan &vlan : ListOf<SwitchVlan>(sw.vlanList))
        if (vlan.vlanId == vlanId)
            return &vlan;
    return nullptr;
}
