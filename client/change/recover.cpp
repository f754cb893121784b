#include "client/change/recover.h"

#include "client/base/text.h"
#include "client/change/carry_out.h"
#include "client/records/journal.h"
#include "client/rows/row_json.h"
#include "client/service/served_file.h"
#include "client/service/service.h"

namespace swctl {
namespace {

constexpr int longestWait = 3600; // s, of the watching process for another swctl

// Finishes a change that was broken off, or takes it back: by its rows, which are
// one or the other. Where the service does not answer, its start applies them.
std::optional<Verdict> recoverChange(GatewayView &gateway)
{
    const Journal journal(gateway.databasePath());
    std::optional<ChangeSet> changes = journal.unfinished();
    if (!changes)
        return std::nullopt;
    refuseAnotherFile(gateway.databasePath());
    Verdict verdict;
    verdict.changes = std::move(*changes);
    const bool done = rowsAreAfter(gateway.database(), verdict.changes);
    const bool answers = serviceAnswers();
    verdict.note = "an earlier change (" + verdict.changes.what + " " + verdict.changes.verb +
                   ") was broken off; it is " + (done ? "finished" : "taken back") +
                   (answers ? "" : " in the rows, which the service's next start applies");
    if (answers) {
        Snapshot snapshot(gateway.database());
        const Target target = targetOfStart(gateway, snapshot);
        const std::vector<int> touched = verdict.changes.vlanIds();
        conclude(verdict,
                 settle(gateway, snapshot, target, {touched.begin(), touched.end()},
                        GatewayView::Extent::whole, true),
                 Outcome::applied);
    }
    journal.end();
    return verdict;
}

// The newest entry is its own, unless swctl was ended before it wrote that.
int entryOf(const Trial &trial, const History &history)
{
    const std::vector<HistoryEntry> entries = history.entries();
    const bool own = !entries.empty() && toJson(entries.back().changes) == toJson(trial.changes);
    return own ? entries.back().number : 0;
}

} // namespace

bool isUnfinished(const std::string &databasePath)
{
    return Journal(databasePath).isThere() || isOnTrial(databasePath);
}

Recovery recoverUnfinished(GatewayView &gateway, History &history)
{
    Recovery recovery;
    recovery.verdict = recoverChange(gateway);
    if (recovery.verdict)
        recovery.notes.push_back(recovery.verdict->note);
    recovery.waiting = trialOf(gateway.databasePath());
    if (recovery.waiting && !recovery.waiting->watched) {
        recovery.verdict = takeBackTrial(gateway, history, *recovery.waiting);
        recovery.notes.push_back("a change on trial (" + recovery.waiting->changes.what +
                                 ") was left alone; it is taken back");
        if (recovery.verdict->outcome != Outcome::unanswered)
            recovery.waiting.reset();
    }
    return recovery;
}

Verdict takeBackTrial(GatewayView &gateway, History &history, const Trial &trial)
{
    const TakeBackWish wish{entryOf(trial, history), trial.changes};
    ChangeOptions options;
    options.force = true; // as it was before, whatever a check says of that
    // A service that serves another file by now has nothing to do with it.
    options.offline =
        servedFile(gateway.databasePath()).serving == Serving::anotherFile || !serviceAnswers();
    Verdict verdict;
    try {
        verdict = carryOut(gateway, history, wish, options);
        if (verdict.outcome == Outcome::refused) {
            // The rows go back all the same, for the next start to apply.
            options.offline = true;
            verdict = carryOut(gateway, history, wish, options);
            verdict.outcome = Outcome::differs;
            verdict.note = "the service refused it; its next start applies the rows";
        }
    } catch (const Failure &failure) {
        if (failure.status != exitRefused)
            throw;
        // Somebody else has changed the rows since: they have the last word.
        verdict.outcome = Outcome::differs;
        verdict.changes = trial.changes;
        verdict.note = failure.what();
    }
    if (verdict.outcome != Outcome::unanswered)
        endTrial(gateway.databasePath());
    return verdict;
}

int watchTrial(const std::string &databasePath, const std::string &siteFile, int seconds)
{
    awaitTrialEnd(databasePath, seconds);
    ChangeLock lock(databasePath);
    lock.wait(longestWait);
    if (!watchedTrialStands(databasePath))
        return exitDone; // confirmed, or taken back by somebody else
    const std::optional<Trial> trial = trialOf(databasePath);
    if (!trial)
        return exitDone;
    GatewayView gateway(Database(databasePath, Access::write), siteFile);
    History history(databasePath);
    return outcomeStatus(takeBackTrial(gateway, history, *trial).outcome);
}

} // namespace swctl
