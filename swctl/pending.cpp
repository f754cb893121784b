// Compares a change on a running service with a start; see the header.
#include "swctl/pending.h"

#include "swmgr/swmgr_client.h"

#include <algorithm>
#include <cstring>

namespace swctl {
namespace {

template <class Part>
bool isSame(const Part &a, const Part &b)
{
    return memcmp(&a, &b, sizeof(a)) == 0;
}

// An entry of the VLAN table without the index at which it stands: that depends on
// the order in which VLANs came, and nothing looks at it.
std::vector<std::string> vlanEntriesOf(const engine::State &state)
{
    std::vector<std::string> entries;
    for (const engine::VlanEntry &entry : state.vlans)
        if (entry.present != 0)
            entries.emplace_back(reinterpret_cast<const char *>(&entry), sizeof(entry));
    std::sort(entries.begin(), entries.end());
    return entries;
}

bool isSameEngine(const engine::State &a, const engine::State &b)
{
    return a.rateLimiter == b.rateLimiter && a.queueCode == b.queueCode &&
           isSame(a.ports, b.ports) && isSame(a.registers, b.registers) &&
           vlanEntriesOf(a) == vlanEntriesOf(b);
}

bool isSamePort(const chip::Port &a, const chip::Port &b)
{
    return a.forwardMap == b.forwardMap && a.trustMode == b.trustMode &&
           a.schedMode == b.schedMode && a.weights == b.weights && a.rateLimit == b.rateLimit;
}

// The default tag of a port that takes no untagged frames has no effect.
bool isSameChip(const Rehearsal &a, const Rehearsal &b)
{
    const chip::Model &one = a.state().chip;
    const chip::Model &other = b.state().chip;
    const Target target = targetOf(b, {});
    for (size_t port = 0; port < target.takesUntagged.size(); ++port)
        if (!isSamePort(one.ports[port], other.ports[port]) ||
            (target.takesUntagged[port] && one.ports[port].pvid != other.ports[port].pvid))
            return false;
    return one.vlanMode == other.vlanMode && one.qos == other.qos &&
           one.pauseFrames == other.pauseFrames && a.chip().vlans == b.chip().vlans;
}

std::string rowName(const RowChange &change)
{
    const Row &row = change.after ? *change.after : *change.before;
    const std::string &owner = row.text("switchName");
    return change.table == "swPortConfig" ? "port " + row.text("portNumber") + " of " + owner
                                          : "switch " + owner;
}

} // namespace

void addRequests(Script &script, const ChangeSet &changes)
{
    for (const RowChange &change : changes.rows) {
        if (!change.isAnnounced())
            continue;
        const Announcement announcement = announcementOf(change);
        script.request(SWMGR_MSG_DB_EVENT, announcement.event, announcement.oldValues);
    }
}

std::vector<Difference> pendingSettings(const GatewayView &gateway, Snapshot &before,
                                        Snapshot &after, const ChangeSet &changes)
{
    std::vector<Difference> waiting;
    for (const RowChange &change : changes.rows) {
        if (change.isAnnounced())
            continue;
        Difference difference;
        difference.kind = DifferenceKind::setting;
        difference.wanted = change.after ? "as its row says" : "gone";
        difference.found = rowName(change) + ": as before until the service starts again";
        difference.restart = true;
        waiting.push_back(std::move(difference));
    }
    if (waiting.empty())
        return waiting;
    Script script = gateway.startScript(before);
    script.image(after.image());
    addRequests(script, changes);
    const Rehearsal changed = rehearse(script);
    const Rehearsal started = gateway.rehearseStart(after)->finish();
    if (isSameEngine(changed.state().engine, started.state().engine) &&
        isSameChip(changed, started))
        waiting.clear();
    return waiting;
}

} // namespace swctl
