// The commands that hold the database against the hardware: diff, repair, recover,
// rehearse.
#include "client/base/json.h"
#include "client/base/text.h"
#include "client/change/repair.h"
#include "client/rehearse/event_text.h"
#include "swctl/cli_change.h"
#include "swctl/interruption.h"
#include "swctl/report.h"

#include <memory>

namespace swctl {
namespace {

struct CompareArguments {
    bool all = false;    // every VLAN id of the chip
    bool dryRun = false; // of repair
    bool verbose = false;
};

int runDiff(const Globals &globals, const CompareArguments &arguments)
{
    GatewayView gateway = openGateway(globals, Access::read);
    const Verdict verdict =
        compare(gateway, History(globals.database), arguments.all, progressOn("VLANs read"));
    if (globals.json)
        printJson(verdictJson(verdict));
    else
        printDifferences(verdict, arguments.verbose);
    return outcomeStatus(verdict.outcome);
}

Verdict repairOrLook(const Globals &globals, const CompareArguments &arguments)
{
    const bool recovers = !arguments.dryRun && isUnfinished(globals.database);
    GatewayView gateway = openGateway(globals, recovers ? Access::write : Access::read);
    History history(globals.database);
    if (recovers)
        static_cast<void>(recoverFirst(gateway, history));
    const Progress progress = progressOn("VLANs read");
    return arguments.dryRun ? compare(gateway, history, arguments.all, progress)
                            : repair(gateway, history, arguments.all, progress);
}

int runRepair(const Globals &globals, const CompareArguments &arguments)
{
    const ChangeLock lock = lockChanges(globals);
    const InterruptionTold interruption;
    const Verdict verdict = repairOrLook(globals, arguments);
    if (globals.json)
        printJson(verdictJson(verdict));
    else
        printRepair(verdict);
    return outcomeStatus(verdict.outcome);
}

int runRecover(const Globals &globals)
{
    const ChangeLock lock = lockChanges(globals);
    const InterruptionTold interruption;
    std::optional<Verdict> verdict;
    if (isUnfinished(globals.database)) {
        GatewayView gateway = openGateway(globals, Access::write);
        History history(globals.database);
        verdict = recoverFirst(gateway, history).verdict;
    }
    if (globals.json)
        printJson(verdict ? verdictJson(*verdict) : Json{{"outcome", "nothing unfinished"}});
    else if (!verdict)
        printf("No change is unfinished.\n");
    else
        printRepair(*verdict);
    return verdict ? outcomeStatus(verdict->outcome) : exitDone;
}

int runRehearse(const Globals &globals)
{
    GatewayView gateway = openGateway(globals, Access::read);
    Snapshot snapshot(gateway.database());
    const Rehearsal rehearsal = gateway.rehearseStart(snapshot)->finish();
    Json list = Json::array();
    for (const Event &event : rehearsal.events()) {
        const char *kind = kindName(event.kind);
        if (globals.json)
            list.push_back({{"kind", kind}, {"text", eventText(event)}, {"number", event.number}});
        else
            printf("%-6s | %s\n", kind, eventText(event).c_str());
    }
    const std::optional<StoppedAt> stopped = rehearsal.stoppedAt();
    if (globals.json)
        printJson({{"load", rehearsal.loadStatus()},
                   {"stoppedAt", stopped ? Json{{"table", stopped->table},
                                                {"row", stopped->row + 1},
                                                {"reasons", stopped->reasons}}
                                         : Json()},
                   {"happenings", std::move(list)}});
    else if (stopped)
        printf("A start stops at row %d of %s.\n", stopped->row + 1, stopped->table.c_str());
    return rehearsal.loadStatus() < 0 ? exitDiffers : exitDone;
}

void addAllFlag(CLI::App *command, CompareArguments &arguments)
{
    command->add_flag("--all", arguments.all,
                      "Read every entry of the chip, not only those that the database or a "
                      "sub-interface names");
}

} // namespace

void addCompareCommands(Program &program)
{
    const auto arguments = std::make_shared<CompareArguments>();
    const Globals &globals = program.globals;
    CLI::App *diff = addCommand(
        program, program.app, "diff",
        "Hold what a start from the database would give against what chip, engine and "
        "kernel hold",
        "  swctl diff\n  swctl diff --all --json",
        [&globals, arguments] { return runDiff(globals, *arguments); });
    CLI::App *mend = addCommand(
        program, program.app, "repair",
        "Bring chip, engine and kernel to what the database says, through "
        "the service",
        "  swctl repair --dry-run\n  swctl repair",
        [&globals, arguments] { return runRepair(globals, *arguments); });
    addCommand(
        program, program.app, "recover",
        "Finish or take back a change that was broken off; unit and init script run it",
        "  swctl recover", [&globals] { return runRecover(globals); });
    addCommand(program, program.app, "rehearse",
               "Show everything that a start from the database would do, without doing it",
               "  swctl rehearse\n  swctl rehearse --json",
               [&globals] { return runRehearse(globals); });
    if (program.mayRun("diff")) {
        addAllFlag(diff, *arguments);
        diff->add_flag("-v,--verbose", arguments->verbose,
                       "Show what differs without an effect as well, which counts as equal");
    }
    if (!program.mayRun("repair"))
        return;
    addAllFlag(mend, *arguments);
    mend->add_flag("--dry-run", arguments->dryRun, "Only say what differs");
}

} // namespace swctl
