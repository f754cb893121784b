// Recovery and repair; see the header.
#include "client/change/repair.h"

#include "client/base/text.h"
#include "client/change/confirm.h"
#include "client/change/journal.h"
#include "client/change/judge.h"
#include "client/change/pending.h"
#include "client/rows/columns.h"
#include "client/service/service.h"

#include <algorithm>

namespace swctl {
namespace {

// Finishes a change that was broken off, or takes it back: by its rows, which are
// one or the other. Where the service does not answer, its start applies them.
std::optional<Verdict> recoverChange(const ChangeOptions &options)
{
    const Journal journal(options.databasePath);
    std::optional<ChangeSet> changes = journal.unfinished();
    if (!changes)
        return std::nullopt;
    GatewayView gateway(options.databasePath, options.siteFile);
    Database database(options.databasePath, Access::write);
    Verdict verdict;
    verdict.changes = std::move(*changes);
    const bool done = rowsAreAfter(database, verdict.changes);
    const bool answers = serviceAnswers();
    verdict.note = "an earlier change (" + verdict.changes.what + " " + verdict.changes.verb +
                   ") was broken off; it is " + (done ? "finished" : "taken back") +
                   (answers ? "" : " in the rows, which the service's next start applies");
    if (answers) {
        Snapshot snapshot(database);
        const Target target = targetOfStart(gateway, snapshot);
        const std::vector<int> touched = verdict.changes.vlanIds();
        judge(verdict,
              settle(gateway, snapshot, target, {touched.begin(), touched.end()},
                     GatewayView::Extent::whole, true),
              Word::applied);
    }
    journal.end();
    fprintf(stderr, "swctl: %s\n", printable(verdict.note).c_str());
    return verdict;
}

// What is otherwise than after a fresh start and has no effect on a VLAN's frames.
void noteIdle(const Site &site, const Target &target, const Actual &actual, Verdict &verdict)
{
    for (const Difference &difference : differences(target, actual))
        if (!difference.counts)
            verdict.idle.push_back(difference);
    if (!target.pausesSet)
        return;
    const Part<PauseRegisters> pauses = readPauseRegisters(site);
    if (!pauses.held)
        verdict.idleUnread = "the engine's registers for pause frames: " + pauses.reason;
    else
        for (const Difference &difference : pauseDifferences(target.pauses, *pauses.held))
            verdict.idle.push_back(difference);
}

} // namespace

std::optional<Verdict> recoverUnfinished(const ChangeOptions &options)
{
    std::optional<Verdict> verdict = recoverChange(options);
    const std::optional<Trial> trial = trialOf(options.databasePath);
    if (trial && !trial->watched) {
        verdict = takeBackTrial(options, *trial);
        fprintf(stderr, "swctl: a change on trial (%s) was left alone; it is taken back\n",
                printable(trial->changes.what).c_str());
    }
    return verdict;
}

Verdict repair(const ChangeOptions &options, bool allVlans, bool dryRun, const Progress &progress)
{
    GatewayView gateway(options.databasePath, options.siteFile);
    Database database(options.databasePath, Access::read);
    Snapshot snapshot(database);
    const Target target = targetOfStart(gateway, snapshot);
    std::set<int> ids;
    for (int id = 1; allVlans && id <= highestVlan; ++id)
        ids.insert(id);
    Verdict verdict;
    verdict.changes.what = "gateway";
    verdict.changes.verb = "compared";
    Settled settled =
        settle(gateway, snapshot, target, ids, GatewayView::Extent::whole, !dryRun, progress);
    std::vector<Difference> waiting =
        pendingSettings(gateway, options.databasePath, snapshot, snapshot, ChangeSet());
    for (Difference &difference : settled.left)
        if (!waiting.empty() && !dryRun)
            difference.remedy = Remedy::restart;
    settled.left.insert(settled.left.end(), waiting.begin(), waiting.end());
    if (target.stopped) {
        verdict.note = verdict.startStops = stoppedText(*target.stopped);
        const size_t rows = snapshot.database().rows("vlanEncapIf").size();
        const size_t reached =
            target.stopped->table == "vlanEncapIf" ? static_cast<size_t>(target.stopped->row) : 0;
        verdict.unreached = rows - std::min(rows, reached);
    } else if (target.loadStatus < 0) {
        verdict.note = verdict.startStops =
            snapshot.database().rows("swGlobalCfg").empty()
                ? "there is no switch in the database: a start has nothing to apply"
                : "a start of the service would take every row and then fail to apply them";
    }
    noteIdle(gateway.site(), target, settled.actual, verdict);
    judge(verdict, std::move(settled), Word::applied);
    return verdict;
}

} // namespace swctl
