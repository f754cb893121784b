#include "client/change/recover.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/change/carry_out.h"
#include "client/records/journal.h"
#include "client/service/log.h"
#include "client/service/served_file.h"
#include "client/service/service.h"
#include "common/clock.h"

#include <algorithm>
#include <ctime>

namespace swctl {
namespace {

constexpr int longestWait = 3600; // s that the watching process waits for another swctl
constexpr int longestPause = 60;  // s between its attempts

// What became of an interrupted change. It may have been recorded before the interruption; then
// it gets a second entry without rows. If its rows were never written, it leaves no trace.
void rememberRecovered(History &history, bool done, Verdict &verdict)
{
    HistoryEntry entry;
    entry.time = millisecondsNow(CLOCK_REALTIME);
    if (const std::vector<HistoryEntry> all = history.entries();
        !all.empty() && all.back().outcome == outcomeText(Outcome::unanswered))
        entry.concerns = history.numberOf(verdict.changes);
    entry.outcome = !done              ? "taken back"
                    : verdict.verified ? outcomeText(verdict.outcome)
                                       : "written";
    entry.changes = verdict.changes;
    entry.verified = verdict.verified;
    if (entry.concerns == 0 && !done)
        return;
    if (entry.concerns != 0) {
        entry.changes.rows.clear();
        entry.changes.verb += done ? ", finished" : ", taken back";
        entry.changes.undoes = done ? 0 : entry.concerns;
    }
    entry.changes.through = "recover";
    try {
        static_cast<void>(history.add(std::move(entry)));
    } catch (const Failure &failure) {
        addNote(verdict, std::string("not in the history: ") + failure.what());
    }
}

// Completes an interrupted change or undoes it, depending on whether its rows were committed.
// If the service does not answer, its next start applies the rows.
std::optional<Verdict> recoverChange(GatewayView &gateway, History &history)
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
                   ") was interrupted; it is " + (done ? "finished" : "taken back") +
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
    rememberRecovered(history, done, verdict);
    journal.end();
    return verdict;
}

struct Attempt {
    int status = exitDone;
    std::string told; // for the log
};

std::string nameOf(const ChangeSet &changes)
{
    return "the change on trial (" + changes.what + " " + changes.verb + ") ";
}

// One attempt of the watching process.
Attempt attemptTakeBack(const std::string &databasePath, const std::string &siteFile)
{
    try {
        ChangeLock lock(databasePath);
        lock.wait(longestWait);
        const std::optional<Trial> trial =
            watchedTrialStands(databasePath) ? trialOf(databasePath) : std::nullopt;
        if (!trial)
            return {exitDone, "a change on trial was confirmed, or taken back by somebody else"};
        GatewayView gateway(Database(databasePath, Access::write), siteFile);
        History history(databasePath);
        const Verdict verdict = takeBackTrial(gateway, history, *trial, TrialEnd::ranOut);
        return {outcomeStatus(verdict.outcome),
                nameOf(trial->changes) +
                    "was not confirmed; taking it back: " + outcomeText(verdict.outcome) +
                    (verdict.note.empty() ? "" : ": " + verdict.note)};
    } catch (const Failure &failure) {
        return {failure.status,
                std::string("a change on trial cannot be taken back: ") + failure.what()};
    }
}

} // namespace

bool isUnfinished(const std::string &databasePath)
{
    return Journal(databasePath).isThere() || isOnTrial(databasePath);
}

Recovery recoverUnfinished(GatewayView &gateway, History &history)
{
    Recovery recovery;
    recovery.verdict = recoverChange(gateway, history);
    if (recovery.verdict)
        recovery.notes.push_back(recovery.verdict->note);
    recovery.waiting = trialOf(gateway.databasePath());
    if (recovery.waiting && recovery.waiting->isLeft()) {
        recovery.verdict = takeBackTrial(gateway, history, *recovery.waiting, TrialEnd::overdue);
        recovery.notes.push_back("a change on trial (" + recovery.waiting->changes.what +
                                 (recovery.waiting->watched
                                      ? ") was not confirmed in time; it is taken back"
                                      : ") was not being watched any more; it is taken back"));
        if (recovery.verdict->outcome != Outcome::unanswered)
            recovery.waiting.reset();
    }
    return recovery;
}

void rememberConfirmed(History &history, const Trial &trial, const std::string &comment)
{
    HistoryEntry entry;
    entry.time = millisecondsNow(CLOCK_REALTIME);
    entry.concerns = history.numberOf(trial.changes);
    entry.outcome = "confirmed";
    entry.changes.what = trial.changes.what;
    entry.changes.verb = trial.changes.verb;
    entry.changes.through = "confirm";
    entry.changes.comment = comment;
    static_cast<void>(history.add(std::move(entry)));
}

Verdict takeBackTrial(GatewayView &gateway, History &history, const Trial &trial, TrialEnd end,
                      const std::string &comment)
{
    constexpr const char *causes[] = {"trial that ran out", "trial that was overdue",
                                      "confirm --take-back"};
    const TakeBackWish wish{history.numberOf(trial.changes), trial.changes,
                            end == TrialEnd::ordered};
    ChangeOptions options;
    options.through = causes[static_cast<size_t>(end)];
    options.comment = comment;
    options.force = true; // restore the old state even if checks would refuse it
    // Don't involve a service that now uses another file.
    options.offline =
        servedFile(gateway.databasePath()).serving == Serving::anotherFile || !serviceAnswers();
    Verdict verdict;
    try {
        verdict = carryOut(gateway, history, wish, options);
        if (verdict.outcome == Outcome::refused) {
            // Restore the rows anyway; the next start applies them.
            options.offline = true;
            verdict = carryOut(gateway, history, wish, options);
            verdict.outcome = Outcome::differs;
            verdict.note = "the service refused it; its next start applies the rows";
        }
    } catch (const Failure &failure) {
        if (failure.status != exitRefused)
            throw;
        // The rows have been changed by someone else since; leave them alone.
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
    // A writer's lock, a full disk or a service that does not answer end sooner or later.
    // Between the attempts anybody else may confirm or undo it.
    for (int pause = 1;; pause = std::min(2 * pause, longestPause)) {
        const Attempt attempt = attemptTakeBack(databasePath, siteFile);
        const bool again = watchedTrialStands(databasePath);
        addToLog(attempt.status == exitDone ? SWMGR_LOG_INFO : SWMGR_LOG_ERROR,
                 onOneLine(attempt.told) +
                     (again ? "; trying again in " + std::to_string(pause) + " s" : "") + "\n");
        if (!again)
            return attempt.status;
        awaitTrialEnd(databasePath, pause);
    }
}

} // namespace swctl
