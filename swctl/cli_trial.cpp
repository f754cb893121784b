// The commands for earlier changes: confirm, history, undo.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/base/time_text.h"
#include "client/records/history.h"
#include "client/rows/row_json.h"
#include "client/rows/row_text.h"
#include "client/service/log.h"
#include "client/service/served_file.h"
#include "common/json.h"
#include "swctl/cli_change.h"
#include "swctl/commands.h"
#include "swctl/interruption.h"
#include "swctl/report.h"
#include "swctl/validate.h"

#include <ctime>
#include <limits>

namespace swctl {
namespace {

int takeBack(const Call &call, const Trial &trial, TrialEnd end)
{
    const Globals &globals = call.globals;
    GatewayView gateway = openGateway(globals, Access::write);
    const InterruptionTold interruption(InterruptionTold::Work::repair);
    History history(globals.database);
    const Verdict verdict = takeBackTrial(gateway, history, trial, end, call.text("--comment"));
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
        return takeBack(call, *trial, TrialEnd::ordered);
    if (!trial->watched && trial->deadline < time(nullptr)) {
        static_cast<void>(takeBack(call, *trial, TrialEnd::overdue));
        return exitRefused;
    }
    endTrial(globals.database);
    try {
        History history(globals.database);
        rememberConfirmed(history, *trial, call.text("--comment"));
    } catch (const Failure &failure) { // it is kept all the same
        fprintf(stderr, "swctl: the confirmation is not in the history: %s\n", failure.what());
    }
    const std::string what = trial->changes.what + " " + trial->changes.verb;
    if (globals.json)
        printJson({{"outcome", "applied"}, {"what", trial->changes.what}, {"confirmed", true}});
    else
        printf("confirmed: %s\n", printable(what).c_str());
    return exitDone;
}

// What an entry is about, in a line.
std::string whatText(const HistoryEntry &entry)
{
    const ChangeSet &changes = entry.changes;
    // The first row of a change is the one that was named.
    const bool isNamed =
        !changes.rows.empty() && changeText(changes.rows.front()).starts_with(changes.what);
    std::string text = isNamed ? "" : changes.what + " " + changes.verb;
    if (!changes.rows.empty())
        text.append(text.empty() ? "" : ": ").append(changesText(changes));
    if (changes.undoes != 0)
        text += " (undoes " + std::to_string(changes.undoes) + ")";
    if (changes.undoesTo >= 0)
        text += " (undoes all after " + std::to_string(changes.undoesTo) + ")";
    if (entry.concerns != 0 && changes.undoes == 0)
        text += " (change " + std::to_string(entry.concerns) + ")";
    if (!changes.comment.empty())
        text += " - " + changes.comment;
    return printable(text);
}

Json rowJson(const std::optional<Row> &row)
{
    if (!row)
        return nullptr;
    Json cells = Json::object();
    for (const Row::Cell &cell : row->cells)
        cells[cell.column] = toJson(cell.value);
    return cells;
}

Json entryJson(const HistoryEntry &entry)
{
    const ChangeSet &changes = entry.changes;
    Json rows = rowsJson(changes);
    Json whole = Json::array();
    for (size_t i = 0; i < changes.rows.size(); ++i) {
        Json row = rows.values()[i];
        row["before"] = rowJson(changes.rows[i].before);
        row["after"] = rowJson(changes.rows[i].after);
        whole.push_back(std::move(row));
    }
    return {{"number", entry.number},
            {"time", entry.time / 1000},
            {"who", entry.who},
            {"through", changes.through.empty() ? Json() : Json(changes.through)},
            {"comment", changes.comment.empty() ? Json() : Json(changes.comment)},
            {"what", changes.what},
            {"verb", changes.verb},
            {"outcome", entry.outcome},
            {"stands", entry.changedRows()},
            {"undoes", changes.undoes != 0 ? Json(changes.undoes) : Json()},
            {"undoesAllAfter", changes.undoesTo >= 0 ? Json(changes.undoesTo) : Json()},
            {"concerns", entry.concerns != 0 ? Json(entry.concerns) : Json()},
            {"done", entry.done},
            {"rows", std::move(whole)}};
}

void printEntry(const HistoryEntry &entry)
{
    const ChangeSet &changes = entry.changes;
    printLines(stdout, "change " + std::to_string(entry.number) + "  " +
                           dateText(entry.time / 1000) + "  " + printable(entry.who) +
                           (changes.through.empty() ? "" : ", " + printable(changes.through)) +
                           ": " + printable(entry.outcome));
    if (!changes.comment.empty())
        printLines(stdout, "  " + printable(changes.comment));
    printLines(stdout, "  " + printable(changes.what + " " + changes.verb) +
                           (entry.stands ? "" : "; the rows were restored"));
    for (const std::string &line : entry.done)
        printLines(stdout, "  " + printable(line));
    for (const RowChange &change : changes.rows) {
        printf("row %lld of %s\n", static_cast<long long>(change.rowId()),
               printable(change.table).c_str());
        for (const std::string &line : changeLines(change))
            printf("  %s\n", printable(line).c_str());
    }
}

const HistoryEntry &entryNumbered(const std::vector<HistoryEntry> &entries, int64_t number)
{
    for (const HistoryEntry &entry : entries)
        if (entry.number == number)
            return entry;
    throw Failure(exitUsage, "there is no change " + std::to_string(number) + " in the history");
}

int runHistory(const Call &call)
{
    const Globals &globals = call.globals;
    { // Fails if the database is unusable.
        const Database database(globals.database, Access::read);
    }
    std::vector<HistoryEntry> entries = History(globals.database).entries();
    if (call.has("show")) {
        if (!call.has("N"))
            throw Failure(exitUsage, "give the number of a change: history show N");
        const HistoryEntry &entry = entryNumbered(entries, call.number("N"));
        if (globals.json)
            printJson(entryJson(entry));
        else
            printEntry(entry);
        return exitDone;
    }
    const auto keep = static_cast<size_t>(call.number("--lines"));
    if (entries.size() > keep)
        entries.erase(entries.begin(), entries.end() - static_cast<ptrdiff_t>(keep));
    if (globals.json) {
        Json all = Json::array();
        for (const HistoryEntry &entry : entries)
            all.push_back(entryJson(entry));
        printJson(all);
        return exitDone;
    }
    TextTable table({"#", "TIME", "WHO", "THROUGH", "OUTCOME", "WHAT"});
    for (const HistoryEntry &entry : entries)
        table.add({std::to_string(entry.number), dateText(entry.time / 1000), printable(entry.who),
                   entry.changes.through.empty() ? "-" : printable(entry.changes.through),
                   printable(entry.outcome), whatText(entry)});
    table.print(stdout);
    return exitDone;
}

// The numbers of changes that a later one undid.
std::set<int64_t> undoneIn(const std::vector<HistoryEntry> &entries)
{
    std::set<int64_t> undone;
    for (const HistoryEntry &entry : entries) {
        if (entry.outcome == "refused" || !entry.stands)
            continue;
        if (entry.changes.undoes != 0)
            undone.insert(entry.changes.undoes);
        for (const HistoryEntry &earlier : entries)
            if (entry.changes.undoesTo >= 0 && earlier.number > entry.changes.undoesTo &&
                earlier.number < entry.number)
                undone.insert(earlier.number);
    }
    return undone;
}

// Why the entry cannot be undone; empty: it can.
std::string notToUndo(const HistoryEntry &entry, const std::set<int64_t> &undone)
{
    if (undone.contains(entry.number))
        return " has already been undone";
    if (entry.outcome == "refused")
        return " was refused; there is nothing to undo";
    if (!entry.stands)
        return " was taken back at once; there is nothing to undo";
    return entry.changes.rows.empty() ? " changed no row; there is nothing to undo" : "";
}

// The entry with that number; without a number, the last change that took effect, has not been
// undone and is not an undo itself.
HistoryEntry entryToUndo(const std::vector<HistoryEntry> &entries, int64_t number)
{
    const std::set<int64_t> undone = undoneIn(entries);
    if (number != 0) {
        const HistoryEntry &entry = entryNumbered(entries, number);
        if (const std::string reason = notToUndo(entry, undone); !reason.empty())
            throw Failure(exitRefused, "refused: change " + std::to_string(number) + reason +
                                           "; nothing was changed");
        return entry;
    }
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
        if (notToUndo(*entry, undone).empty() && entry->changes.undoes == 0 &&
            entry->changes.undoesTo < 0)
            return *entry;
    throw Failure(exitUsage, "the history has no change to undo");
}

// All changes after an entry as one; 0 stands for the time before the first.
UndoToWish undoTo(const std::vector<HistoryEntry> &entries, int64_t number)
{
    if (number != 0)
        static_cast<void>(entryNumbered(entries, number));
    else if (entries.empty() || entries.front().number != 1)
        throw Failure(exitUsage, "the history does not reach back to the first change");
    UndoToWish wish{number, {}};
    size_t count = 0;
    for (const HistoryEntry &entry : entries) {
        if (entry.number <= number || !entry.changedRows())
            continue;
        append(wish.changes, entry.changes);
        ++count;
    }
    wish.changes.consequences.clear();
    wish.changes.what = std::to_string(count) + (count == 1 ? " change" : " changes");
    return wish;
}

int runUndo(const Call &call)
{
    if (call.has("N") && call.has("--to"))
        throw Failure(exitUsage, "give either N or --to");
    GatewayView gateway = gatewayFor(call);
    const std::vector<HistoryEntry> entries = History(call.globals.database).entries();
    if (call.has("--to"))
        return change(call, std::move(gateway), undoTo(entries, call.number("--to")));
    const HistoryEntry entry = entryToUndo(entries, call.has("N") ? call.number("N") : 0);
    return change(call, std::move(gateway), UndoWish{entry.number, entry.changes});
}

std::string theShowWord(const std::string &text)
{
    return wordAmong(text, {"show"});
}

constexpr int64_t mostNumber = std::numeric_limits<int64_t>::max();

// --watch is used by swctl itself, for the process that undoes the change.
constexpr OptionRow confirmOptions[] = {
    {"--take-back", nullptr, "Revert it now"},
    {"--watch", "SECONDS", nullptr, decimal<0, maxInt>},
};
constexpr OptionRow historyOptions[] = {
    {"show", "show", "The word 'show'", theShowWord},
    {"N", "CHANGE", "Change to show with its rows before and after", decimal<1, mostNumber>},
    {"--lines", "N", "Newest entries to show, 1 to 100000", decimal<1, 100000>, "20"},
};
constexpr OptionRow undoArguments[] = {
    {"N", "CHANGE", "Number of the change, as 'history' shows it", decimal<1, mostNumber>},
    {"--to", "CHANGE", "Revert every change after this one; 0: all of them",
     decimal<0, mostNumber>},
};

} // namespace

constexpr CommandRow commands::confirm = {
    nullptr,
    "confirm",
    "Keep a change made with --confirm, which is reverted otherwise",
    "  swctl apply gateway.json --confirm 120\n  swctl confirm\n  swctl confirm --take-back",
    runConfirm,
    {confirmOptions, commentFlag}};

constexpr CommandRow commands::history = {
    nullptr,
    "history",
    "Show who changed what, when, through what, and with what outcome",
    "  swctl history\n  swctl history --lines 100 --json\n"
    "  swctl history show 17",
    runHistory,
    {historyOptions}};

constexpr CommandRow commands::undo = {
    nullptr,
    "undo",
    "Revert a change, the last one unless a number is given",
    "  swctl undo\n  swctl undo 17 --dry-run\n  swctl undo --to 12",
    runUndo,
    {undoArguments, changeFlags}};

} // namespace swctl
