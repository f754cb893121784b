#include "client/change/repair.h"

#include "client/base/number.h"
#include "client/change/pending.h"
#include "client/change/send_settings.h"
#include "client/gateway/devices.h"
#include "client/rehearse/event_text.h"
#include "client/rows/check_rows.h"
#include "client/service/served_file.h"
#include "common/clock.h"

#include <algorithm>

namespace swctl {
namespace {

// Differences from a fresh start that do not affect the frames of any VLAN.
void noteIdle(const Target &target, const Actual &actual, Verdict &verdict)
{
    for (const Difference &difference : differences(target, actual))
        if (!difference.counts)
            verdict.idle.push_back(difference);
}

// Where a start would stop, and how many VLANs it would not reach.
void noteStop(const Target &target, Database &database, Verdict &verdict)
{
    if (target.stopped) {
        verdict.note = verdict.startStops = stoppedText(*target.stopped);
        const size_t rows = database.rows(vlanTableName).size();
        const size_t reached =
            target.stopped->table == vlanTableName ? static_cast<size_t>(target.stopped->row) : 0;
        verdict.unreached = rows - std::min(rows, reached);
    } else if (target.loadStatus < 0) {
        verdict.note = verdict.startStops =
            database.rows(switchTableName).empty()
                ? "there is no switch in the database: a start has nothing to apply"
                : "a start of the service would accept every row and then fail to apply them";
    }
}

// Shared by `repair` and `compare`; `mend` is set for `repair`.
Verdict lookOver(GatewayView &gateway, const History &history, bool allVlans, bool mend,
                 const Progress &progress)
{
    Snapshot snapshot(gateway.database());
    const Target target = targetOfStart(gateway, snapshot);
    std::set<int> ids;
    for (int id = lowestVlan; allVlans && id <= highestVlan; ++id)
        ids.insert(id);
    Verdict verdict;
    verdict.changes.what = "gateway";
    verdict.changes.verb = "compared";
    Settled settled =
        settle(gateway, snapshot, target, ids, GatewayView::Extent::whole, mend, progress);
    if (std::vector<std::string> sent; mend) {
        // Without a log daemon there is nothing to be gained from sending what a start has sent.
        sendUnknown(target, settled.actual, settled.actual.tools.held.has_value(), sent);
        if (!sent.empty()) {
            settled.done.insert(settled.done.end(), sent.begin(), sent.end());
            std::vector<std::string> done = std::move(settled.done);
            settled = settle(gateway, snapshot, target, ids, GatewayView::Extent::whole,
                             /*mend=*/false, progress);
            settled.done = std::move(done);
        }
    }
    std::vector<Difference> waiting =
        pendingSettings(gateway, history, snapshot, snapshot, ChangeSet());
    for (Difference &difference : settled.left)
        if (!waiting.empty() && mend)
            difference.remedy = Remedy::restart;
    settled.left.insert(settled.left.end(), waiting.begin(), waiting.end());
    const ServedFile served = servedFile(gateway.databasePath());
    if (served.serving == Serving::anotherFile) {
        verdict.otherFile = served.path;
        for (Difference &difference : settled.left)
            difference.remedy = Remedy::file;
    }
    noteStop(target, snapshot.database(), verdict);
    noteIdle(target, settled.actual, verdict);
    conclude(verdict, std::move(settled), Outcome::applied);
    return verdict;
}

} // namespace

Verdict compare(GatewayView &gateway, const History &history, bool allVlans,
                const Progress &progress)
{
    return lookOver(gateway, history, allVlans, /*mend=*/false, progress);
}

Verdict repair(GatewayView &gateway, History &history, bool allVlans, const Progress &progress,
               const std::string &comment)
{
    refuseAnotherFile(gateway.databasePath());
    Verdict verdict = lookOver(gateway, history, allVlans, /*mend=*/true, progress);
    if (verdict.settled.empty())
        return verdict;
    HistoryEntry entry;
    entry.time = millisecondsNow(CLOCK_REALTIME);
    entry.outcome = outcomeText(verdict.outcome);
    entry.changes.what = verdict.changes.what;
    entry.changes.verb = "repaired";
    entry.changes.through = "repair";
    entry.changes.comment = comment;
    entry.verified = verdict.verified;
    entry.done = verdict.settled;
    try {
        static_cast<void>(history.add(std::move(entry)));
    } catch (const Failure &failure) {
        addNote(verdict, std::string("not in the history: ") + failure.what());
    }
    return verdict;
}

std::vector<std::string> sendAfterStart(GatewayView &gateway)
{
    std::vector<std::string> done;
    if (servedFile(gateway.databasePath()).serving == Serving::anotherFile)
        return done;
    Snapshot snapshot(gateway.database());
    const Target target = targetOfStart(gateway, snapshot);
    if (target.settings.empty() || target.stopped)
        return done;
    const Actual actual = gateway.read(snapshot, target, {}, GatewayView::Extent::touched);
    std::vector<Difference> late = differences(target, actual);
    std::erase_if(late, [&](const Difference &difference) {
        return std::none_of(target.settings.begin(), target.settings.end(),
                            [&](const WantedSetting &one) {
                                return !one.byStart && one.label() == difference.setting;
                            });
    });
    sendDifferent(late, target, done);
    sendUnknown(target, actual, /*alsoOfStart=*/false, done);
    return done;
}

} // namespace swctl
