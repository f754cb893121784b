#include "client/change/carry_out.h"

#include "client/base/text.h"
#include "client/change/pending.h"
#include "client/change/refusal.h"
#include "client/change/send_settings.h"
#include "client/change/untagged_loss.h"
#include "client/records/journal.h"
#include "client/records/trial.h"
#include "client/service/request_log.h"
#include "client/service/served_file.h"
#include "client/service/service.h"
#include "common/clock.h"

#include <algorithm>
#include <ctime>

namespace swctl {
namespace {

using Extent = GatewayView::Extent;

// A change affects only its own entries. Reading the others as well reveals earlier faults;
// with very many entries that is left to 'swctl diff'.
constexpr size_t mostReadWhole = 256;

Extent extentOf(const Target &target)
{
    return target.vlanIds.size() <= mostReadWhole ? Extent::whole : Extent::touched;
}

// The state that a change starts from, and its target.
struct Prepared {
    std::unique_ptr<Snapshot> before, after;
    Target target;   // for the rows after the change
    Actual hardware; // before the change, as far as the change can affect it
    std::set<int> ids;
    std::optional<Target> old;                  // of the rows before, if rows of switches change
    std::vector<const WantedSetting *> changed; // settings of `target` to be sent
};

// Sends the announcements in order, up to the first that is refused. Returns how many were
// sent.
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

// Sends the settings that the rows change, up to the first that is refused.
void sendChanged(const Prepared &prepared, Verdict &verdict)
{
    for (const WantedSetting *setting : prepared.changed) {
        if (setting->requests.empty())
            continue;
        verdict.answer = sendSetting(*setting);
        verdict.asked = true;
        if (verdict.answer < 0)
            break;
    }
}

// Sends the changed settings as they were before.
void sendOld(const Prepared &prepared)
{
    for (const WantedSetting *setting : prepared.changed)
        if (const WantedSetting *was = sameIn(*prepared.old, *setting))
            static_cast<void>(sendSetting(*was)); // what is in force is checked below
}

bool isChanged(const Prepared &prepared, const Difference &difference)
{
    return std::any_of(
        prepared.changed.begin(), prepared.changed.end(),
        [&](const WantedSetting *one) { return one->label() == difference.setting; });
}

// The settings of the change itself that were not seen to be in force, whatever they are.
std::vector<std::string> unseen(const Prepared &prepared, const Settled &settled)
{
    std::vector<UnknownSetting> own;
    for (const WantedSetting *setting : prepared.changed) {
        if (setting->requests.empty())
            continue; // waits for a start, which is said elsewhere
        const SettingInForce *held = inForce(*setting, settled.actual);
        if (held == nullptr)
            own.push_back({setting, settled.actual.settingsReason});
        else if (!held->unknown.empty())
            own.push_back({setting, held->unknown});
    }
    return textsOf(own);
}

void putRowsBack(Database &database, const ChangeSet &changes)
{
    ChangeSet back = reversed(changes);
    Transaction transaction(database, Access::write);
    writeRows(database, back);
    transaction.commit();
}

// Restores the rows, notifies the service and clears up after the attempt.
void takeBack(GatewayView &gateway, Prepared &prepared, size_t sent, bool verify, Verdict &verdict)
{
    try {
        putRowsBack(gateway.database(), verdict.changes);
    } catch (const Failure &failure) {
        verdict.outcome = Outcome::differs;
        verdict.note = std::string(failure.what()) + "; the rows are unchanged";
        return;
    }
    verdict.rowsBack = true;
    int ignored = 0;
    ChangeSet told = reversed(verdict.changes, sent);
    std::erase_if(told.rows, [](const RowChange &change) { return change.vlanId() == 0; });
    for (const RowChange &change : told.rows) {
        ChangeSet single;
        single.rows.push_back(change);
        static_cast<void>(announceAll(single, ignored)); // the hardware is checked below
    }
    sendOld(prepared);
    verdict.outcome = Outcome::refused;
    if (!verify)
        return;
    const Target target = targetOfStart(gateway, *prepared.before);
    // This change is not responsible for what differed before, or what it cannot have affected.
    const std::vector<Difference> old = counting(differences(target, prepared.hardware));
    const auto isNamed = [&](const Difference &difference) {
        return prepared.ids.contains(difference.vlanId) || isChanged(prepared, difference) ||
               (difference.kind == DifferenceKind::defaultTag &&
                std::none_of(old.begin(), old.end(),
                             [&](const Difference &one) { return one.sameAs(difference); }));
    };
    Settled settled = settle(gateway, *prepared.before, target, prepared.ids, extentOf(target),
                             true, {}, isNamed);
    std::erase_if(settled.left, [&](const Difference &difference) {
        return std::any_of(old.begin(), old.end(),
                           [&](const Difference &one) { return one.sameAs(difference); }) ||
               (difference.kind == DifferenceKind::entry && difference.byQuery &&
                !prepared.ids.contains(difference.vlanId));
    });
    conclude(verdict, std::move(settled), Outcome::refused);
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

// Anything that the service was not notified of waits for its next start, as does anything that
// cannot be repaired until then.
void verifyChange(GatewayView &gateway, const History &history, Prepared &prepared,
                  Verdict &verdict)
{
    std::vector<Difference> waiting;
    if (waitsForStart(verdict.changes))
        waiting =
            pendingSettings(gateway, history, *prepared.before, *prepared.after, verdict.changes);
    Settled settled = settle(gateway, *prepared.after, prepared.target, prepared.ids,
                             extentOf(prepared.target), true);
    for (Difference &difference : settled.left)
        if (!waiting.empty())
            difference.remedy = Remedy::restart;
    settled.left.insert(settled.left.end(), waiting.begin(), waiting.end());
    for (const std::string &loss :
         untaggedLosses(prepared.before->database(), prepared.after->database()))
        addNote(verdict, loss);
    const std::vector<std::string> own = unseen(prepared, settled);
    conclude(verdict, std::move(settled), Outcome::applied);
    std::erase_if(verdict.unknown, [&](const std::string &text) {
        return std::find(own.begin(), own.end(), text) != own.end();
    });
    verdict.unread.insert(verdict.unread.end(), own.begin(), own.end());
    if (!own.empty())
        verdict.outcome = Outcome::differs;
}

// False if the service refuses one.
bool sendNamed(const ChangeOptions &options, Verdict &verdict)
{
    for (const auto &[switchName, request] : options.named) {
        verdict.answer = askSwitch(switchName, request.command, request.record);
        verdict.asked = true;
        if (verdict.answer < 0)
            return false;
    }
    if (verdict.asked)
        verdict.settled.emplace_back("the service was sent it again");
    return true;
}

// Nothing to change; the hardware is still compared with the rows.
void verifyAsItIs(GatewayView &gateway, const History &history, const ChangeOptions &options,
                  Prepared &prepared, Verdict &verdict)
{
    if (options.offline)
        return;
    if (!sendNamed(options, verdict)) {
        verdict.outcome = Outcome::refused;
        return;
    }
    if (!options.verify)
        return;
    prepared.after = std::make_unique<Snapshot>(gateway.database());
    prepared.target = targetOfStart(gateway, *prepared.after);
    Settled settled = settle(gateway, *prepared.after, prepared.target, {}, Extent::whole, false);
    settled.done = std::move(verdict.settled);
    const std::vector<Difference> waiting =
        pendingSettings(gateway, history, *prepared.after, *prepared.after, verdict.changes);
    settled.left.insert(settled.left.end(), waiting.begin(), waiting.end());
    conclude(verdict, std::move(settled), Outcome::applied);
}

void enter(const ChangeOptions &options, Stage stage)
{
    if (options.reached != nullptr)
        options.reached(stage);
}

void writeAndPrepare(GatewayView &gateway, const History &history, const Wish &wish,
                     const ChangeOptions &options, const Journal &journal, Prepared &prepared,
                     Verdict &verdict)
{
    Database &database = gateway.database();
    Transaction transaction(database, Access::write);
    ChangeSet &changes = verdict.changes;
    changes = planOf(database, wish);
    changes.through = options.through;
    changes.comment = options.comment;
    if (changes.empty())
        return;
    markStillHeld(history, changes);
    prepared.before = std::make_unique<Snapshot>(database);
    writeRows(database, changes);
    if (!options.force)
        refuseErrors(gateway, *prepared.before, database, changes);
    for (const int id : changes.vlanIds())
        prepared.ids.insert(id);
    noteNextStart(changes);
    const bool touchesSwitches =
        std::any_of(changes.rows.begin(), changes.rows.end(),
                    [](const RowChange &change) { return change.table != vlanTableName; });
    if (!options.offline && (options.verify || touchesSwitches)) {
        prepared.after = std::make_unique<Snapshot>(database);
        auto running = gateway.rehearseStart(*prepared.after);
        Target rows; // only needed for its VLAN ids
        rows.vlanIds = vlanIdsIn(prepared.before->database());
        if (options.verify)
            prepared.hardware = gateway.read(*prepared.before, rows, prepared.ids, Extent::touched);
        if (touchesSwitches)
            prepared.old = targetOfStart(gateway, *prepared.before);
        prepared.target = targetOf(running->finish(), prepared.after->database());
        if (!touchesSwitches) // leaves to 'swctl diff' what takes programs to look at
            std::erase_if(prepared.target.settings,
                          [](const WantedSetting &setting) { return setting.isCostly; });
        if (!options.force)
            refuseStop(gateway, *prepared.before, prepared.target, changes);
    }
    if (prepared.old)
        prepared.changed = changedSettings(*prepared.old, prepared.target);
    for (std::string &rounding : roundings(prepared.changed))
        changes.consequences.push_back(std::move(rounding));
    enter(options, Stage::writing);
    if (!options.offline)
        journal.begin(changes);
    try {
        if (options.onTrial != 0)
            beginTrial(gateway.databasePath(), gateway.siteFile(), changes, options.onTrial);
        transaction.commit();
        verdict.committed = millisecondsNow(CLOCK_REALTIME);
    } catch (const Failure &) {
        if (options.onTrial != 0)
            endTrial(gateway.databasePath());
        if (!options.offline)
            journal.end();
        throw;
    }
}

void announceAndVerify(GatewayView &gateway, const History &history, const ChangeOptions &options,
                       Prepared &prepared, Verdict &verdict)
{
    enter(options, Stage::announced);
    RequestLog log;
    size_t sent = 0;
    try {
        sent = announceAll(verdict.changes, verdict.answer, options.told);
        verdict.asked = std::any_of(verdict.changes.rows.begin(), verdict.changes.rows.end(),
                                    [](const RowChange &change) { return change.isAnnounced(); });
        if (verdict.answer >= 0)
            sendChanged(prepared, verdict);
        if (verdict.answer < 0) {
            verdict.reasons = reasonsIn(log.take());
            takeBack(gateway, prepared, sent, options.verify, verdict);
            if (servedFile(gateway.databasePath()).serving == Serving::untold)
                addNote(verdict, "it is unknown whether the service uses this database");
        } else if (options.verify) {
            verifyChange(gateway, history, prepared, verdict);
            if (verdict.outcome == Outcome::differs)
                verdict.reasons = reasonsIn(log.take());
        }
        if (verdict.outcome != Outcome::applied && !log.available())
            addNote(verdict, "reasons are not available: " + log.reason());
    } catch (const Failure &failure) {
        verdict.outcome = Outcome::unanswered;
        verdict.note = failure.what();
        verdict.open = verdict.asked || !wasNeverSent(failure);
        if (verdict.asked)
            return;
        // The next start applies the rows but removes nothing. Rows that were added or changed
        // can therefore stay, but removals must be undone.
        const bool stays = !wasNeverSent(failure) && !takesAway(verdict.changes);
        if (!stays)
            putRowsBack(gateway.database(), verdict.changes);
        verdict.rowsBack = !stays;
        verdict.note +=
            stays ? "; the rows stay as written, and the service's next start applies them"
                  : "; the rows were restored";
    }
}

void remember(History &history, const ChangeOptions &options, Verdict &verdict)
{
    try {
        HistoryEntry entry;
        entry.time = verdict.committed;
        entry.outcome = options.offline ? "written" : outcomeText(verdict.outcome);
        entry.changes = verdict.changes;
        entry.verified = verdict.verified;
        entry.stands = !verdict.rowsBack;
        static_cast<void>(history.add(std::move(entry)));
    } catch (const Failure &failure) {
        addNote(verdict, std::string("not in the history: ") + failure.what());
    }
}

} // namespace

Verdict carryOut(GatewayView &gateway, History &history, const Wish &wish,
                 const ChangeOptions &options)
{
    if (!options.offline)
        refuseAnotherFile(gateway.databasePath());
    Prepared prepared;
    const Journal journal(gateway.databasePath());
    Verdict verdict;
    writeAndPrepare(gateway, history, wish, options, journal, prepared, verdict);
    if (verdict.changes.empty()) {
        verifyAsItIs(gateway, history, options, prepared, verdict);
        return verdict;
    }
    if (!options.offline)
        announceAndVerify(gateway, history, options, prepared, verdict);
    // Left to the next swctl to find out whether it was carried out.
    if (!options.offline && !verdict.open)
        journal.end();
    if (options.onTrial != 0 && verdict.rowsBack)
        endTrial(gateway.databasePath());
    else if (options.onTrial != 0)
        verdict.deadline = time(nullptr) + options.onTrial;
    remember(history, options, verdict);
    return verdict;
}

} // namespace swctl
