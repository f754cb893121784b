// Writes, announces, verifies, settles, takes back; see the header.
#include "client/change/carry_out.h"

#include "client/base/text.h"
#include "client/change/confirm.h"
#include "client/change/history.h"
#include "client/change/journal.h"
#include "client/change/judge.h"
#include "client/change/pending.h"
#include "client/change/repair.h"
#include "client/check/check.h"
#include "client/check/check_context.h"
#include "client/service/request_log.h"
#include "client/service/service.h"
#include "common/clock.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>

namespace swctl {
namespace {

// Between the commit and the answer an interruption leaves it open what became of
// the change; the journal has it, and the next swctl finishes it.
void onInterruption(int)
{
    constexpr char text[] =
        "\nswctl: unanswered: interrupted before the service had answered\n"
        "  The change is written down; the next swctl, or 'swctl recover', finishes it.\n";
    static_cast<void>(!write(STDERR_FILENO, text, sizeof(text) - 1));
    _exit(exitUnreachable);
}

class InterruptionTold {
public:
    InterruptionTold()
    {
        struct sigaction action = {};
        action.sa_handler = onInterruption;
        for (size_t i = 0; i < std::size(numbers); ++i)
            sigaction(numbers[i], &action, &before[i]);
    }
    ~InterruptionTold()
    {
        for (size_t i = 0; i < std::size(numbers); ++i)
            sigaction(numbers[i], &before[i], nullptr);
    }
    InterruptionTold(const InterruptionTold &) = delete;
    InterruptionTold &operator=(const InterruptionTold &) = delete;

private:
    static constexpr int numbers[] = {SIGINT, SIGTERM, SIGHUP};
    struct sigaction before[std::size(numbers)];
};

using Extent = GatewayView::Extent;

// A change touches its own entries alone. Reading all the others as well finds what
// went wrong before; with very many that is left to 'swctl diff'.
constexpr size_t mostReadWhole = 256;

Extent extentOf(const Target &target)
{
    return target.vlanIds.size() <= mostReadWhole ? Extent::whole : Extent::touched;
}

// What a change is about to meet.
struct Prepared {
    GatewayView gateway;
    std::unique_ptr<Snapshot> before, after;
    Target target;   // of the rows after the change
    Actual hardware; // before it, as far as the change can reach
    std::set<int> ids;
};

// A change that would keep the next start from going through is not begun.
void refuseStop(const GatewayView &gateway, Snapshot &before, const Target &after,
                const ChangeSet &changes)
{
    if (!after.stopped)
        return;
    const Target now = targetOfStart(gateway, before);
    if (now.stopped && now.stopped->table == after.stopped->table &&
        now.stopped->row == after.stopped->row)
        return; // it does already, and not for this
    throw Failure(exitRefused, "refused: " + printable(changes.what) + ": " +
                                   stoppedText(*after.stopped) +
                                   "\n  Nothing was changed. --force does it all the same.");
}

// Sends the announcements in order up to the first that is refused; gives the
// number of those that were sent.
size_t announceAll(const ChangeSet &changes, int &answer, const Progress &told = {})
{
    size_t sent = 0;
    for (const RowChange &change : changes.rows) {
        if (change.isAnnounced()) {
            const Announcement announcement = announcementOf(change);
            answer = ask(SWMGR_RELAY_MODULE_ID, SWMGR_MSG_DB_EVENT, announcement.event,
                         announcement.oldValues);
        }
        ++sent;
        if (told)
            told(sent, changes.rows.size());
        if (answer < 0)
            break;
    }
    return sent;
}

void putRowsBack(Database &database, const ChangeSet &changes)
{
    ChangeSet back = reversed(changes);
    Transaction transaction(database, Access::write);
    writeRows(database, back);
    transaction.commit();
}

// The rows go back, the service is told, and what the attempt left is cleared.
void takeBack(Database &database, Prepared &prepared, size_t sent, bool verify, Verdict &verdict)
{
    try {
        putRowsBack(database, verdict.changes);
    } catch (const Failure &failure) {
        verdict.word = Word::differs;
        verdict.note = std::string(failure.what()) + "; the rows are left as they are";
        return;
    }
    verdict.rowsBack = true;
    int ignored = 0;
    ChangeSet told = reversed(verdict.changes, sent);
    std::erase_if(told.rows, [](const RowChange &change) { return change.vlanId() == 0; });
    for (const RowChange &change : told.rows) {
        ChangeSet single;
        single.rows.push_back(change);
        static_cast<void>(announceAll(single, ignored)); // what it came to is looked at
    }
    verdict.word = Word::refused;
    if (!verify)
        return;
    const Target target = targetOfStart(prepared.gateway, *prepared.before);
    Settled settled =
        settle(prepared.gateway, *prepared.before, target, prepared.ids, extentOf(target), true);
    // What differed before, or lies where this change cannot have reached, is not
    // of its making.
    const std::vector<Difference> old = counting(differences(target, prepared.hardware));
    std::erase_if(settled.left, [&](const Difference &difference) {
        return std::any_of(old.begin(), old.end(),
                           [&](const Difference &one) { return one.sameAs(difference); }) ||
               (difference.kind == DifferenceKind::chipEntry &&
                !prepared.ids.contains(difference.vlanId));
    });
    judge(verdict, std::move(settled), Word::refused);
}

// Errors that the configuration did not have before.
void refuseErrors(const GatewayView &gateway, Snapshot &before, Database &after,
                  const ChangeSet &changes)
{
    const CheckContext context = checkContextOf(gateway);
    const std::vector<Finding> worse =
        newFindings(checkConfiguration(before.database(), context),
                    checkConfiguration(after, context), Severity::error);
    if (worse.empty())
        return;
    std::string text = "refused: " + printable(changes.what) + ": the configuration would be wrong";
    for (const Finding &finding : worse)
        text += "\n  " + printable(finding.name) + ": " + printable(finding.message) + " (" +
                finding.rule->id + ")";
    throw Failure(exitRefused, text + "\n  Nothing was changed. See 'swctl check --explain " +
                                   worse.front().rule->id + "'; --force does it all the same.");
}

bool takesAway(const ChangeSet &changes)
{
    return std::any_of(
        changes.rows.begin(), changes.rows.end(),
        [](const RowChange &change) { return !change.after; });
}

bool wasNeverSent(const Failure &failure)
{
    return dynamic_cast<const Unanswered *>(&failure) == nullptr;
}

// What the service was not told of waits for its next start, and so does whatever
// else cannot be mended meanwhile.
void verifyChange(const std::string &databasePath, Prepared &prepared, Verdict &verdict)
{
    std::vector<Difference> waiting;
    if (isPartlyUnheard(verdict.changes))
        waiting = pendingSettings(prepared.gateway, databasePath, *prepared.before, *prepared.after,
                                  verdict.changes);
    Settled settled = settle(prepared.gateway, *prepared.after, prepared.target, prepared.ids,
                             extentOf(prepared.target), true);
    for (Difference &difference : settled.left)
        if (!waiting.empty())
            difference.remedy = Remedy::restart;
    settled.left.insert(settled.left.end(), waiting.begin(), waiting.end());
    judge(verdict, std::move(settled), Word::applied);
}

// With nothing to change nothing is sent; whether all is as the rows say is looked
// at all the same.
void verifyAsItIs(Database &database, const ChangeOptions &options, Prepared &prepared,
                  Verdict &verdict)
{
    if (!options.verify || options.offline)
        return;
    prepared.after = std::make_unique<Snapshot>(database);
    prepared.target = targetOfStart(prepared.gateway, *prepared.after);
    Settled settled =
        settle(prepared.gateway, *prepared.after, prepared.target, {}, Extent::whole, false);
    const std::vector<Difference> waiting = pendingSettings(
        prepared.gateway, options.databasePath, *prepared.after, *prepared.after, verdict.changes);
    settled.left.insert(settled.left.end(), waiting.begin(), waiting.end());
    judge(verdict, std::move(settled), Word::applied);
}

// While a change is on trial another one would be in the way of taking it back.
void refuseDuringTrial(const ChangeOptions &options)
{
    if (options.recovering)
        return;
    if (const std::optional<Trial> trial = trialOf(options.databasePath))
        throw Failure(exitRefused,
                      "refused: a change (" + printable(trial->changes.what) + " " +
                          trial->changes.verb + ") waits for its confirmation until " +
                          clockText(trial->deadline) +
                          "; nothing was changed\n  'swctl confirm' keeps it, 'swctl confirm "
                          "--take-back' ends it now");
}

void writeAndPrepare(Database &database, const ChangeOptions &options, const Plan &plan,
                     const Journal &journal, Prepared &prepared, Verdict &verdict)
{
    Transaction transaction(database, Access::write);
    ChangeSet &changes = verdict.changes;
    changes = plan(database);
    if (changes.empty())
        return;
    markStillHeld(options.databasePath, changes);
    prepared.before = std::make_unique<Snapshot>(database);
    writeRows(database, changes);
    if (!options.force)
        refuseErrors(prepared.gateway, *prepared.before, database, changes);
    for (const int id : changes.vlanIds())
        prepared.ids.insert(id);
    if (options.verify && !options.offline) {
        prepared.after = std::make_unique<Snapshot>(database);
        auto running = prepared.gateway.rehearseStart(*prepared.after);
        Target rows; // only which VLANs there are
        rows.vlanIds = vlanIdsIn(prepared.before->database());
        prepared.hardware =
            prepared.gateway.read(*prepared.before, rows, prepared.ids, Extent::touched);
        prepared.target = targetOf(running->finish(), vlanIdsIn(prepared.after->database()));
        if (!options.force)
            refuseStop(prepared.gateway, *prepared.before, prepared.target, changes);
    }
    if (!options.offline)
        journal.begin(changes);
    try {
        if (options.onTrial != 0)
            beginTrial(options, changes, options.onTrial);
        transaction.commit();
        verdict.committed = millisecondsNow(CLOCK_REALTIME);
    } catch (const Failure &) {
        if (options.onTrial != 0)
            endTrial(options.databasePath);
        if (!options.offline)
            journal.end();
        throw;
    }
}

void announceAndVerify(Database &database, const ChangeOptions &options, Prepared &prepared,
                       Verdict &verdict)
{
    RequestLog log;
    size_t sent = 0;
    try {
        sent = announceAll(verdict.changes, verdict.answer, options.told);
        verdict.asked = std::any_of(verdict.changes.rows.begin(), verdict.changes.rows.end(),
                                    [](const RowChange &change) { return change.isAnnounced(); });
        if (verdict.answer < 0) {
            verdict.reasons = reasonsIn(log.take());
            takeBack(database, prepared, sent, options.verify, verdict);
        } else if (options.verify) {
            verifyChange(options.databasePath, prepared, verdict);
            if (verdict.word == Word::differs)
                verdict.reasons = reasonsIn(log.take());
        }
        if (verdict.word != Word::applied && !log.available())
            addNote(verdict, "reasons are not available: no log daemon hears the service");
    } catch (const Failure &failure) {
        verdict.word = Word::unanswered;
        verdict.note = failure.what();
        verdict.open = verdict.asked || !wasNeverSent(failure);
        if (verdict.asked)
            return;
        // The next start writes what the rows say and clears nothing: what was added
        // or changed stays in them, what was to go comes back.
        const bool stays = !wasNeverSent(failure) && !takesAway(verdict.changes);
        if (!stays)
            putRowsBack(database, verdict.changes);
        verdict.rowsBack = !stays;
        verdict.note +=
            stays ? "; the rows stay as written, and the service's next start applies them"
                  : "; the rows are as they were";
    }
}

void remember(const ChangeOptions &options, Verdict &verdict)
{
    try {
        static_cast<void>(History(options.databasePath)
                              .add(verdict, options.offline ? "written" : wordText(verdict.word),
                                   options.undoes));
    } catch (const Failure &failure) {
        addNote(verdict, std::string("not in the history: ") + failure.what());
    }
}

} // namespace

void refuseWorse(const GatewayView &gateway, Snapshot &before, Snapshot &after,
                 const ChangeSet &changes)
{
    refuseErrors(gateway, before, after.database(), changes);
    refuseStop(gateway, before, targetOfStart(gateway, after), changes);
}

const char *wordText(Word word)
{
    constexpr const char *words[] = {"applied", "refused", "differs", "unanswered"};
    return words[static_cast<size_t>(word)];
}

ExitStatus wordStatus(Word word)
{
    constexpr ExitStatus statuses[] = {exitDone, exitRefused, exitDiffers, exitUnreachable};
    return statuses[static_cast<size_t>(word)];
}

Verdict carryOut(const ChangeOptions &options, const Plan &plan)
{
    Prepared prepared{GatewayView(options.databasePath, options.siteFile), {}, {}, {}, {}, {}};
    Database database(options.databasePath, Access::write);
    const Journal journal(options.databasePath);
    if (!options.offline && !options.recovering)
        static_cast<void>(recoverUnfinished(options));
    refuseDuringTrial(options);
    Verdict verdict;
    const InterruptionTold told;
    writeAndPrepare(database, options, plan, journal, prepared, verdict);
    if (verdict.changes.empty()) {
        verifyAsItIs(database, options, prepared, verdict);
        return verdict;
    }
    if (!options.offline)
        announceAndVerify(database, options, prepared, verdict);
    // Whether it was carried out is for the next swctl to find out.
    if (!options.offline && !verdict.open)
        journal.end();
    if (options.onTrial != 0 && verdict.rowsBack)
        endTrial(options.databasePath);
    else if (options.onTrial != 0)
        verdict.deadline = time(nullptr) + options.onTrial;
    remember(options, verdict);
    return verdict;
}

} // namespace swctl
