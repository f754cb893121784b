// Previews a change by rehearsing it, and describes the effects.
#include "client/change/preview.h"

#include "client/base/number.h"
#include "client/base/text.h"
#include "client/change/pending.h"
#include "client/change/refusal.h"
#include "client/change/send_settings.h"
#include "client/change/untagged_loss.h"
#include "client/gateway/devices.h"
#include "client/rehearse/event_text.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>

namespace swctl {
namespace {

// "+ VLAN 30  BCM 1T 2T 3U"
void entryLines(const DeviceState &before, const DeviceState &after, const char *device,
                std::vector<std::string> &lines)
{
    const std::set<int> old = before.vlanIds();
    const std::set<int> now = after.vlanIds();
    std::set<int> ids = old;
    ids.insert(now.begin(), now.end());
    for (const int id : ids) {
        const std::string was = before.vlanText(id);
        const std::string is = after.vlanText(id);
        std::string line = vlanText(id) + "  " + device + " ";
        if (!now.contains(id))
            lines.push_back("- " + line.append(was));
        else if (!old.contains(id))
            lines.push_back("+ " + line.append(is));
        else if (was != is)
            lines.push_back("~ " + line.append(was).append(" -> ").append(is));
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

void settingLines(const Target &before, const std::vector<const WantedSetting *> &changed,
                  std::vector<std::string> &lines)
{
    for (const WantedSetting *setting : changed) {
        if (setting->requests.empty())
            continue; // it waits for a start
        const WantedSetting *was = sameIn(before, *setting);
        std::string line = (was != nullptr ? "~ " : "+ ") + setting->label() + ": ";
        if (was != nullptr)
            line.append(was->value).append(" -> ");
        lines.push_back(line.append(setting->value));
    }
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
    noteNextStart(seen.changes);
    const Target started = targetOfStart(gateway, after);
    if (!options.force) {
        refuseErrors(gateway, before, after.database(), seen.changes);
        refuseStop(gateway, before, started, seen.changes);
    }
    // A running service does not do all that a fresh start would.
    const Rehearsal rehearsedBefore = gateway.rehearseStart(before)->finish();
    const Target old = targetOf(rehearsedBefore, before.database());
    const std::vector<const WantedSetting *> settings = changedSettings(old, started);
    Script script = gateway.startScript(options.offline ? after : before);
    if (!options.offline) {
        script.image(after.image());
        addRequests(script, seen.changes);
        for (const WantedSetting *setting : settings)
            addRequests(script, *setting);
    }
    const Rehearsal rehearsedAfter = rehearse(script);
    const Target now = targetOf(rehearsedAfter, after.database());
    for (const Device *device : devices()) {
        if (device->preview != nullptr)
            entryLines(old.of(*device), now.of(*device), device->preview, seen.lines);
        device->previewPorts(old.of(*device), now.of(*device), seen.lines);
    }
    kernelLines(old.kernel, now.kernel, seen.lines);
    settingLines(old, settings, seen.lines);
    for (std::string &rounding : roundings(settings))
        seen.changes.consequences.push_back(std::move(rounding));
    if (waitsForStart(seen.changes))
        for (const Difference &difference :
             pendingSettings(gateway, history, before, after, seen.changes))
            seen.lines.push_back("! " + difference.text());
    for (const std::string &loss : untaggedLosses(before.database(), after.database()))
        seen.lines.push_back("! " + loss);
    if (!options.offline)
        takeEvents(rehearsedAfter, seen);
    return seen;
}

} // namespace swctl
