// The commands that compare database and hardware: diff, repair, recover, rehearse.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/change/repair.h"
#include "client/rehearse/event_text.h"
#include "client/service/service.h"
#include "common/json.h"
#include "swctl/cli_change.h"
#include "swctl/cli_file.h"
#include "swctl/commands.h"
#include "swctl/interruption.h"
#include "swctl/report.h"
#include "swctl/validate.h"

#include <poll.h>

namespace swctl {
namespace {

int runDiff(const Call &call)
{
    if (call.has("FILE"))
        return diffWithFile(call);
    const Globals &globals = call.globals;
    GatewayView gateway = openGateway(globals, Access::read);
    const Verdict verdict =
        compare(gateway, History(globals.database), call.flag("--all"), progressOn("VLANs read"));
    if (globals.json)
        printJson(verdictJson(verdict));
    else
        printDifferences(verdict, call.flag("--verbose"));
    return outcomeStatus(verdict.outcome);
}

Verdict repairOrLook(const Call &call)
{
    const Globals &globals = call.globals;
    const bool dryRun = call.flag("--dry-run");
    const bool recovers = !dryRun && isUnfinished(globals.database);
    GatewayView gateway = openGateway(globals, recovers ? Access::write : Access::read);
    History history(globals.database);
    if (recovers)
        static_cast<void>(recoverFirst(gateway, history));
    const Progress progress = progressOn("VLANs read");
    return dryRun ? compare(gateway, history, call.flag("--all"), progress)
                  : repair(gateway, history, call.flag("--all"), progress, call.text("--comment"));
}

int runRepair(const Call &call)
{
    const Globals &globals = call.globals;
    const ChangeLock lock = lockChanges(globals);
    const InterruptionTold interruption(InterruptionTold::Work::repair);
    const Verdict verdict = repairOrLook(call);
    if (globals.json)
        printJson(verdictJson(verdict));
    else
        printRepair(verdict);
    return outcomeStatus(verdict.outcome);
}

// Rolls back what a writer of any kind left when it was interrupted. False: nothing was left.
bool rollBack(const std::string &path)
{
    const char *const anyPage = "PRAGMA schema_version";
    try {
        Database(path, Access::read).run(anyPage);
        return false;
    } catch (const JournalLeft &) {
        Database(path, Access::write).run(anyPage);
        return true;
    }
}

// A start of the service does not send all settings. Nothing is said of a service that does not
// answer: what is unfinished in the rows can be recovered without it.
std::vector<std::string> sentAfterStart(const Globals &globals, int patience)
{
    constexpr int napMs = 100;
    bool answers = serviceAnswers();
    for (int left = patience * 1000; !answers && left > 0; left -= napMs) {
        poll(nullptr, 0, napMs);
        answers = serviceAnswers();
    }
    if (!answers)
        return {};
    GatewayView gateway = openGateway(globals, Access::read);
    return sendAfterStart(gateway);
}

int runRecover(const Call &call)
{
    const Globals &globals = call.globals;
    const ChangeLock lock = lockChanges(globals);
    const InterruptionTold interruption(InterruptionTold::Work::repair);
    std::optional<Verdict> verdict;
    const bool restored = rollBack(globals.database);
    if (isUnfinished(globals.database)) {
        GatewayView gateway = openGateway(globals, Access::write);
        History history(globals.database);
        verdict = recoverFirst(gateway, history).verdict;
    }
    const std::vector<std::string> sent = sentAfterStart(globals, call.integer("--after-start"));
    if (globals.json) {
        Json json = verdict ? verdictJson(*verdict)
                            : Json{{"outcome", restored ? "rows restored" : "nothing unfinished"}};
        json["sent"] = sent;
        printJson(json);
        return verdict ? outcomeStatus(verdict->outcome) : exitDone;
    }
    if (!verdict && restored)
        printf("A writer's journal was rolled back: the rows are as before it began.\n");
    else if (!verdict)
        printf("No change is unfinished.\n");
    else
        printRepair(*verdict);
    for (const std::string &line : sent)
        printLines(stdout, "  " + line);
    return verdict ? outcomeStatus(verdict->outcome) : exitDone;
}

int runRehearse(const Call &call)
{
    const Globals &globals = call.globals;
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

constexpr OptionRow allFlag = {"--all", nullptr,
                               "Read every entry of the chip, not only those that the "
                               "database or a sub-interface names"};
constexpr OptionRow diffOptions[] = {
    {"FILE", "FILE", "Compare the rows with this configuration file instead, - for standard input"},
    allFlag,
    {"-v,--verbose", nullptr, "Also show differences without effect, which count as equal"},
};
constexpr OptionRow recoverOptions[] = {
    {"--after-start", "SECONDS", "Wait up to this long for a service that is starting, 0 to 3600",
     decimal<0, 3600>, "0"},
};
constexpr OptionRow repairOptions[] = {
    allFlag,
    {"--dry-run", nullptr, "Only show what differs"},
};

} // namespace

constexpr CommandRow commands::diff = {
    nullptr,
    "diff",
    "Compare what a startup from the database would give with what chip, engine and kernel hold",
    "  swctl diff\n  swctl diff --all --json\n  swctl diff gateway.json",
    runDiff,
    {diffOptions}};

constexpr CommandRow commands::repair = {
    nullptr,
    "repair",
    "Make chip, engine and kernel match the database, through the service",
    "  swctl repair --dry-run\n  swctl repair",
    runRepair,
    {repairOptions, commentFlag}};

constexpr CommandRow commands::recover = {
    nullptr,
    "recover",
    "Finish or revert a change that was interrupted, and send the settings that a start of the "
    "service does not send; the unit and the init script run it after each start",
    "  swctl recover\n  swctl recover --after-start 30",
    runRecover,
    {recoverOptions}};

constexpr CommandRow commands::rehearse = {
    nullptr, "rehearse",
    "Show everything that a startup from the database would do, without doing it",
    "  swctl rehearse\n  swctl rehearse --json", runRehearse};

} // namespace swctl
