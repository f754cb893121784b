// Previews a change by rehearsing it, and describes the effects.
#include "client/change/preview.h"

#include "client/base/number.h"
#include "client/base/text.h"
#include "client/change/pending.h"
#include "client/change/refusal.h"
#include "client/rehearse/event_text.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>

namespace swctl {
namespace {

// "+ VLAN 30  BCM 1T 2T 3U"
void chipLines(const Target &before, const Target &after, const std::string &chip,
               std::vector<std::string> &lines)
{
    std::set<int> ids;
    for (const Target *target : {&before, &after})
        for (const auto &[id, entry] : target->chip.vlans)
            ids.insert(id);
    for (const int id : ids) {
        const auto old = before.chip.vlans.find(id);
        const auto now = after.chip.vlans.find(id);
        const std::string vlan = "VLAN " + std::to_string(id) + "  " + chip + " ";
        if (now == after.chip.vlans.end())
            lines.push_back("- " + vlan + membersText(old->second));
        else if (old == before.chip.vlans.end())
            lines.push_back("+ " + vlan + membersText(now->second));
        else if (!(old->second == now->second))
            lines.push_back("~ " + vlan + membersText(old->second) + " -> " +
                            membersText(now->second));
    }
}

void bridgeLines(const Bridge &before, const Bridge &after, std::vector<std::string> &lines)
{
    std::set<int> ids;
    for (const Bridge *bridge : {&before, &after})
        for (const auto &[id, members] : bridge->vlans)
            ids.insert(id);
    for (const int id : ids) {
        const std::string vlan = "VLAN " + std::to_string(id) + "  bridge ";
        const std::string old = bridgeText(before, id);
        const std::string now = bridgeText(after, id);
        if (!after.vlans.contains(id))
            lines.push_back(std::string("- ").append(vlan).append(old));
        else if (!before.vlans.contains(id))
            lines.push_back(std::string("+ ").append(vlan).append(now));
        else if (old != now)
            lines.push_back(std::string("~ ").append(vlan).append(old).append(" -> ").append(now));
    }
}

std::string tagText(const std::string &port, const std::string &old, const std::string &now,
                    bool losesTraffic)
{
    return "! port " + port + " PVID " + old + " -> " + now +
           (losesTraffic ? " (VLAN " + old + " loses its untagged traffic)" : "");
}

void tagLines(const Target &before, const Target &after, std::vector<std::string> &lines)
{
    for (size_t port = 0; port < before.chip.ports.size(); ++port) {
        const std::string old = std::to_string(before.chip.ports[port].pvid);
        const std::string now = std::to_string(after.chip.ports[port].pvid);
        if (old == now)
            continue;
        lines.push_back(tagText(std::to_string(port), old, now, before.takesUntagged[port]));
    }
}

std::string subInterfaceText(const std::string &name, const SubInterface &sub)
{
    return name + (sub.up ? "  up" : "  down");
}

void kernelLines(const Kernel &before, const Kernel &after, std::vector<std::string> &lines)
{
    for (const auto &[name, sub] : before.interfaces)
        if (!after.interfaces.contains(name))
            lines.push_back("- " + name);
    for (const auto &[name, sub] : after.interfaces) {
        const auto old = before.interfaces.find(name);
        if (old == before.interfaces.end())
            lines.push_back("+ " + subInterfaceText(name, sub));
        else if (!(old->second == sub))
            lines.push_back("~ " + subInterfaceText(name, sub));
    }
}

std::string chipName(Database &database)
{
    const std::string device = chipDevice(database);
    for (const Row &row : database.rows("swGlobalCfg"))
        if (row.text("switchDevice") == device && !device.empty())
            return row.text("switchName");
    return "chip";
}

// Takes the events after the start's own answer: commands and driver requests, and the reasons
// for refusals.
void takeEvents(const Rehearsal &rehearsal, Preview &seen)
{
    int answers = 0;
    std::vector<std::string> errors; // since the previous answer
    for (const Event &event : rehearsal.events()) {
        if (event.kind == rehearsal::Kind::answer) {
            if (answers++ > 0 && event.number < 0)
                seen.reasons.insert(seen.reasons.end(), errors.begin(), errors.end());
            if (answers > 1 && event.number < 0 && errors.empty())
                seen.reasons.push_back("answered " + std::to_string(event.number));
            errors.clear();
        }
        if (answers == 0)
            continue;
        if (isAction(event.kind))
            seen.actions.push_back(eventText(event));
        if (event.kind == rehearsal::Kind::log && event.number == SWMGR_LOG_ERROR &&
            !event.data.starts_with("cmd ("))
            errors.push_back(eventText(event));
    }
}

} // namespace

Preview preview(GatewayView &gateway, const Wish &wish, const PreviewOptions &options)
{
    const History history(gateway.databasePath());
    Snapshot before(gateway.database());
    Snapshot after(before.database());
    Preview seen;
    {
        Transaction transaction(after.database(),
                                Access::write); // planOf needs an open transaction
        seen.changes = planOf(after.database(), wish);
        markStillHeld(history, seen.changes);
        writeRows(after.database(), seen.changes);
        transaction.commit();
    }
    if (seen.changes.empty())
        return seen;
    if (!options.force) {
        refuseErrors(gateway, before, after.database(), seen.changes);
        refuseStop(gateway, before, targetOfStart(gateway, after), seen.changes);
    }
    const Rehearsal rehearsedBefore = gateway.rehearseStart(before)->finish();
    const Rehearsal rehearsedAfter = gateway.rehearseStart(after)->finish();
    const Target old = targetOf(rehearsedBefore, vlanIdsIn(before.database()));
    const Target now = targetOf(rehearsedAfter, vlanIdsIn(after.database()));
    chipLines(old, now, printable(chipName(after.database())), seen.lines);
    tagLines(old, now, seen.lines);
    bridgeLines(old.bridge, now.bridge, seen.lines);
    kernelLines(old.kernel, now.kernel, seen.lines);
    if (isPartlyUnheard(seen.changes))
        for (const Difference &difference :
             pendingSettings(gateway, history, before, after, seen.changes))
            seen.lines.push_back("! " + difference.text());
    if (options.offline)
        return seen;
    Script script = gateway.startScript(before);
    script.image(after.image());
    addRequests(script, seen.changes);
    takeEvents(rehearse(script), seen);
    return seen;
}

} // namespace swctl
