// The commands about changes that were made: confirm, history, undo.
#include "client/base/failure.h"
#include "client/base/json.h"
#include "client/base/text.h"
#include "client/base/time_text.h"
#include "client/records/history.h"
#include "client/service/log.h"
#include "client/service/served_file.h"
#include "swctl/cli_change.h"
#include "swctl/interruption.h"
#include "swctl/report.h"
#include "swctl/validate.h"

#include <ctime>
#include <memory>

namespace swctl {
namespace {

struct TrialArguments {
    bool takeBack = false;
    int watch = 0;            // s; the process that takes it back
    std::string lines = "20"; // entries of the history
    std::string number;       // entry to take back; empty: the last
    ChangeFlags flags;
};

int takeBack(const Globals &globals, const Trial &trial)
{
    GatewayView gateway = openGateway(globals, Access::write);
    const InterruptionTold interruption;
    History history(globals.database);
    const Verdict verdict = takeBackTrial(gateway, history, trial);
    if (globals.json)
        printJson(verdictJson(verdict));
    else
        printVerdict(verdict, /*offline=*/!verdict.asked && verdict.outcome == Outcome::applied);
    return outcomeStatus(verdict.outcome);
}

int runConfirm(const Globals &globals, const TrialArguments &arguments)
{
    if (arguments.watch != 0)
        return watchTrial(globals.database, globals.site, arguments.watch);
    const ChangeLock lock = lockChanges(globals);
    const std::optional<Trial> trial = trialOf(globals.database);
    if (!trial)
        throw Failure(exitRefused, "refused: no change waits for its confirmation");
    refuseAnotherFile(globals.database);
    if (arguments.takeBack)
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
        printf("confirmed: %s; it stays\n", printable(what).c_str());
    return exitDone;
}

int runHistory(const Globals &globals, const TrialArguments &arguments)
{
    { // Of a database that can be used.
        const Database database(globals.database, Access::read);
    }
    std::vector<HistoryEntry> entries = History(globals.database).entries();
    const size_t keep = std::stoul(arguments.lines);
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

// The entry of that number; without one the last that took effect, is not undone
// and undoes nothing itself.
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
                                           " is undone already; nothing was changed");
        if (entry->outcome == "refused")
            throw Failure(exitRefused, "refused: change " + std::to_string(number) +
                                           " was refused itself; there is nothing to undo");
        return *entry;
    }
    throw Failure(exitUsage,
                  number != 0 ? "there is no change " + std::to_string(number) + " in the history"
                              : std::string("the history has no change that could be undone"));
}

int runUndo(const Program &program, const TrialArguments &arguments)
{
    const int wanted = arguments.number.empty() ? 0 : std::stoi(arguments.number);
    GatewayView gateway = gatewayFor(program, arguments.flags);
    const HistoryEntry entry = entryToUndo(program.globals.database, wanted);
    return change(program, arguments.flags, std::move(gateway),
                  UndoWish{entry.number, entry.changes});
}

} // namespace

void addTrialCommands(Program &program)
{
    const auto arguments = std::make_shared<TrialArguments>();
    CLI::App *confirm = addCommand(
        program, program.app, "confirm",
        "Keep a change that was made with --confirm, which is taken back otherwise",
        "  swctl apply gateway.json --confirm 120\n  swctl confirm\n"
        "  swctl confirm --take-back",
        [&program, arguments] { return runConfirm(program.globals, *arguments); });
    CLI::App *history = addCommand(
        program, program.app, "history", "Show who changed what, when, and what came of it",
        "  swctl history\n  swctl history --lines 100 --json",
        [&program, arguments] { return runHistory(program.globals, *arguments); });
    CLI::App *undo =
        addCommand(program, program.app, "undo", "Take a change back, the last one unless told",
                   "  swctl undo\n  swctl undo 17 --dry-run",
                   [&program, arguments] { return runUndo(program, *arguments); });
    if (program.mayRun("confirm")) {
        confirm->add_flag("--take-back", arguments->takeBack, "Take it back now");
        confirm->add_option("--watch", arguments->watch)->group("");
    }
    if (program.mayRun("history"))
        history->add_option("--lines", arguments->lines, "Newest entries to show, 1 to 100000")
            ->type_name("N")
            ->capture_default_str()
            ->transform(decimal(1, 100000));
    if (program.mayRun("undo")) {
        undo->add_option("N", arguments->number, "Number of the change, as 'history' shows it")
            ->transform(decimal(1, std::numeric_limits<int32_t>::max()));
        addChangeFlags(*undo, arguments->flags);
    }
}

} // namespace swctl
