// The commands for earlier changes: confirm, history, undo.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/base/time_text.h"
#include "client/records/history.h"
#include "client/service/log.h"
#include "client/service/served_file.h"
#include "common/json.h"
#include "swctl/cli_change.h"
#include "swctl/commands.h"
#include "swctl/interruption.h"
#include "swctl/report.h"
#include "swctl/validate.h"

#include <ctime>

namespace swctl {
namespace {

int takeBack(const Globals &globals, const Trial &trial)
{
    GatewayView gateway = openGateway(globals, Access::write);
    const InterruptionTold interruption(InterruptionTold::Work::repair);
    History history(globals.database);
    const Verdict verdict = takeBackTrial(gateway, history, trial);
    if (globals.json)
        printJson(verdictJson(verdict));
    else
        printVerdict(verdict, /*offline=*/!verdict.asked && verdict.outcome == Outcome::applied);
    return outcomeStatus(verdict.outcome);
}

int runConfirm(const Call &call)
{
    const Globals &globals = call.globals;
    if (call.has("--watch"))
        return watchTrial(globals.database, globals.site, call.integer("--watch"));
    const ChangeLock lock = lockChanges(globals);
    const std::optional<Trial> trial = trialOf(globals.database);
    if (!trial)
        throw Failure(exitRefused, "refused: no change awaits confirmation");
    refuseAnotherFile(globals.database);
    if (call.flag("--take-back"))
        return takeBack(globals, *trial);
    if (!trial->watched && trial->deadline < time(nullptr)) {
        static_cast<void>(takeBack(globals, *trial));
        return exitRefused;
    }
    endTrial(globals.database);
    const std::string what = trial->changes.what + " " + trial->changes.verb;
    if (globals.json)
        printJson({{"outcome", "applied"}, {"what", trial->changes.what}, {"confirmed", true}});
    else
        printf("confirmed: %s\n", printable(what).c_str());
    return exitDone;
}

int runHistory(const Call &call)
{
    const Globals &globals = call.globals;
    { // Fails if the database is unusable.
        const Database database(globals.database, Access::read);
    }
    std::vector<HistoryEntry> entries = History(globals.database).entries();
    const auto keep = static_cast<size_t>(call.number("--lines"));
    if (entries.size() > keep)
        entries.erase(entries.begin(), entries.end() - static_cast<ptrdiff_t>(keep));
    if (globals.json) {
        Json all = Json::array();
        for (const HistoryEntry &entry : entries)
            all.push_back(
                {{"number", entry.number},
                 {"time", entry.time / 1000},
                 {"who", entry.who},
                 {"what", entry.changes.what},
                 {"verb", entry.changes.verb},
                 {"outcome", entry.outcome},
                 {"undoes", entry.changes.undoes != 0 ? Json(entry.changes.undoes) : Json()},
                 {"rows", rowsJson(entry.changes)}});
        printJson(all);
        return exitDone;
    }
    TextTable table({"#", "TIME", "WHO", "OUTCOME", "WHAT"});
    for (const HistoryEntry &entry : entries)
        table.add({std::to_string(entry.number), dateText(entry.time / 1000), printable(entry.who),
                   printable(entry.outcome),
                   printable(entry.changes.what + " " + entry.changes.verb) +
                       (entry.changes.undoes != 0
                            ? " (undoes " + std::to_string(entry.changes.undoes) + ")"
                            : "")});
    table.print(stdout);
    return exitDone;
}

// The entry with that number; without a number, the last change that took effect, has not been
// undone and is not an undo itself.
HistoryEntry entryToUndo(const std::string &databasePath, int number)
{
    const std::vector<HistoryEntry> entries = History(databasePath).entries();
    std::set<int> undone;
    for (const HistoryEntry &entry : entries)
        if (entry.changes.undoes != 0 && entry.outcome != "refused")
            undone.insert(entry.changes.undoes);
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        if (number != 0 ? entry->number != number
                        : entry->outcome == "refused" || entry->changes.undoes != 0 ||
                              undone.contains(entry->number))
            continue;
        if (undone.contains(entry->number))
            throw Failure(exitRefused, "refused: change " + std::to_string(number) +
                                           " has already been undone; nothing was changed");
        if (entry->outcome == "refused")
            throw Failure(exitRefused, "refused: change " + std::to_string(number) +
                                           " was refused; there is nothing to undo");
        return *entry;
    }
    throw Failure(exitUsage,
                  number != 0 ? "there is no change " + std::to_string(number) + " in the history"
                              : std::string("the history has no change to undo"));
}

int runUndo(const Call &call)
{
    GatewayView gateway = gatewayFor(call);
    const HistoryEntry entry = entryToUndo(call.globals.database, call.integer("N"));
    return change(call, std::move(gateway), UndoWish{entry.number, entry.changes});
}

// --watch is used by swctl itself, for the process that undoes the change.
constexpr OptionRow confirmOptions[] = {
    {"--take-back", nullptr, "Revert it now"},
    {"--watch", "SECONDS", nullptr, decimal<0, maxInt>},
};
constexpr OptionRow historyOptions[] = {
    {"--lines", "N", "Newest entries to show, 1 to 100000", decimal<1, 100000>, "20"},
};
constexpr OptionRow undoArguments[] = {
    {"N", "TEXT", "Number of the change, as 'history' shows it", decimal<1, maxInt>},
};

} // namespace

constexpr CommandRow commands::confirm = {
    nullptr,
    "confirm",
    "Keep a change made with --confirm, which is reverted otherwise",
    "  swctl apply gateway.json --confirm 120\n  swctl confirm\n  swctl confirm --take-back",
    runConfirm,
    {confirmOptions}};

constexpr CommandRow commands::history = {nullptr,
                                          "history",
                                          "Show who changed what, when, and with what outcome",
                                          "  swctl history\n  swctl history --lines 100 --json",
                                          runHistory,
                                          {historyOptions}};

constexpr CommandRow commands::undo = {nullptr,
                                       "undo",
                                       "Revert a change, the last one unless a number is given",
                                       "  swctl undo\n  swctl undo 17 --dry-run",
                                       runUndo,
                                       {undoArguments, changeFlags}};

} // namespace swctl
