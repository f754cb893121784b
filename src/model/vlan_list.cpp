// Chains within the list: by bucket of the id, and of the VLANs that may untag a
// port, the last one first. A port is untagged in one VLAN, so the latter has a few
// members; one whose map was emptied leaves it when it is passed.
#include "model/vlan_list.h"

namespace {

// The object begins its block.
ListedVlan &listed(SwitchVlan &vlan)
{
    return *reinterpret_cast<ListedVlan *>(&vlan);
}

ListedVlan **bucketOf(Switch &sw, int32_t vlanId)
{
    return &sw.vlansById[static_cast<uint32_t>(vlanId) % vlanBuckets];
}

SwitchVlan *firstWithId(ListedVlan *entry, int32_t vlanId)
{
    while (entry != nullptr && entry->vlan.vlanId != vlanId)
        entry = entry->sameBucket;
    return entry != nullptr ? &entry->vlan : nullptr;
}

void untaggingEnter(Switch &sw, ListedVlan &entry)
{
    if (entry.vlan.untagMap == 0 || entry.mayUntag)
        return;
    ListedVlan **link = &sw.untagging;
    while (*link != nullptr && (*link)->place > entry.place)
        link = &(*link)->untagging;
    entry.untagging = *link;
    entry.mayUntag = true;
    *link = &entry;
}

// The first from a link on that untags a port; those before it leave.
SwitchVlan *firstUntagging(ListedVlan **link)
{
    while (*link != nullptr && (*link)->vlan.untagMap == 0) {
        ListedVlan &idle = **link;
        *link = idle.untagging;
        idle.mayUntag = false;
    }
    return *link != nullptr ? &(*link)->vlan : nullptr;
}

} // namespace

void vlanListAppend(Switch &sw, SwitchVlan &vlan)
{
    ListedVlan &entry = listed(vlan);
    salListNodeAppend(&sw.vlanList, &vlan.link);
    entry.place = ++sw.vlanPlaces;
    ListedVlan **link = bucketOf(sw, vlan.vlanId);
    while (*link != nullptr)
        link = &(*link)->sameBucket;
    entry.sameBucket = nullptr;
    *link = &entry;
    untaggingEnter(sw, entry);
}

void vlanListRemove(Switch &sw, SwitchVlan &vlan)
{
    ListedVlan &entry = listed(vlan);
    salListNodeRemove(&sw.vlanList, &vlan.link);
    ListedVlan **link = bucketOf(sw, vlan.vlanId);
    while (*link != &entry)
        link = &(*link)->sameBucket;
    *link = entry.sameBucket;
    if (!entry.mayUntag)
        return;
    for (link = &sw.untagging; *link != &entry;)
        link = &(*link)->untagging;
    *link = entry.untagging;
    entry.mayUntag = false;
}

SwitchVlan *vlanListFind(Switch &sw, int32_t vlanId)
{
    return firstWithId(*bucketOf(sw, vlanId), vlanId);
}

SwitchVlan *vlanListNextSame(const SwitchVlan &vlan)
{
    return firstWithId(reinterpret_cast<const ListedVlan &>(vlan).sameBucket, vlan.vlanId);
}

void vlanMapsSet(Switch &sw, SwitchVlan &vlan, uint32_t fwdMap, uint32_t untagMap)
{
    vlan.fwdMap = fwdMap;
    vlan.untagMap = untagMap;
    untaggingEnter(sw, listed(vlan));
}

SwitchVlan *vlanUntagging(Switch &sw)
{
    return firstUntagging(&sw.untagging);
}

SwitchVlan *vlanUntaggingBefore(SwitchVlan &vlan)
{
    return firstUntagging(&listed(vlan).untagging);
}
