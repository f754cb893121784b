#include "swctl/cli_change.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/base/time_text.h"
#include "client/change/preview.h"
#include "swctl/interruption.h"
#include "swctl/report.h"
#include "swctl/validate.h"

#include <unistd.h>

namespace swctl {
namespace {

constexpr int longestTrial = 24 * 3600; // s

// While a change is on trial another one would be in the way of taking it back.
void refuseDuringTrial(const std::optional<Trial> &trial)
{
    if (trial)
        throw Failure(exitRefused,
                      "refused: a change (" + printable(trial->changes.what) + " " +
                          trial->changes.verb + ") waits for its confirmation until " +
                          clockText(trial->deadline) +
                          "; nothing was changed\n  'swctl confirm' keeps it, 'swctl confirm "
                          "--take-back' ends it now");
}

int show(const Program &program, const ChangeFlags &flags, GatewayView &gateway, const Wish &wish)
{
    const Preview seen = preview(gateway, wish, {flags.offline, flags.force});
    if (program.globals.json)
        printJson(previewJson(seen));
    else
        printPreview(seen, flags.verbose);
    return seen.reasons.empty() ? exitDone : exitRefused;
}

} // namespace

void addChangeFlags(CLI::App &command, ChangeFlags &flags)
{
    command.add_flag("--dry-run", flags.dryRun,
                     "Only show what would become different; write and send nothing");
    command.add_flag("-v,--verbose", flags.verbose,
                     "With --dry-run: the commands and requests in their order, too");
    command
        .add_option("--confirm", flags.confirm,
                    "Take it back after so many seconds unless 'swctl confirm' comes first")
        ->type_name("SECONDS")
        ->transform(decimal(1, longestTrial));
    command.add_flag("--offline", flags.offline, "Only write the row; do not tell the service");
    command.add_flag("--no-verify", flags.noVerify,
                     "Do not look at the hardware afterwards, which is faster");
    command.add_flag("--force", flags.force,
                     "Do it although a rule or a start of the service is against it");
}

GatewayView openGateway(const Globals &globals, Access access)
{
    return {Database(globals.database, access), globals.site};
}

ChangeLock lockChanges(const Globals &globals)
{
    ChangeLock lock(globals.database);
    if (!lock.held() && globals.wait > 0)
        fprintf(stderr, "swctl: another swctl is changing this database; waiting\n");
    lock.wait(globals.wait);
    return lock;
}

Recovery recoverFirst(GatewayView &gateway, History &history)
{
    Recovery recovery = recoverUnfinished(gateway, history);
    for (const std::string &note : recovery.notes)
        fprintf(stderr, "swctl: %s\n", printable(note).c_str());
    return recovery;
}

Progress progressOn(const char *what)
{
    if (isatty(STDERR_FILENO) != 1)
        return {};
    return [what](size_t done, size_t all) {
        constexpr size_t few = 20; // are done before anybody has read it
        if (all <= few)
            return;
        fprintf(stderr, "\r%zu of %zu %s\x1b[K%s", done, all, what, done >= all ? "\r\x1b[K" : "");
        fflush(stderr);
    };
}

GatewayView gatewayFor(const Program &program, const ChangeFlags &flags)
{
    return openGateway(program.globals, flags.dryRun ? Access::read : Access::write);
}

int change(const Program &program, const ChangeFlags &flags, const Wish &wish)
{
    return change(program, flags, gatewayFor(program, flags), wish);
}

int change(const Program &program, const ChangeFlags &flags, GatewayView gateway, const Wish &wish)
{
    if (!flags.confirm.empty() && (flags.dryRun || flags.offline))
        throw Failure(exitUsage, "--confirm does not go with --dry-run or --offline");
    if (flags.dryRun)
        return show(program, flags, gateway, wish);
    ChangeOptions options;
    options.offline = flags.offline;
    options.verify = !flags.noVerify;
    options.force = flags.force;
    options.onTrial = flags.confirm.empty() ? 0 : std::stoi(flags.confirm);
    options.told = progressOn("changes announced");
    const ChangeLock lock = lockChanges(program.globals);
    const InterruptionTold interruption;
    History history(program.globals.database);
    refuseDuringTrial(options.offline ? trialOf(program.globals.database)
                                      : recoverFirst(gateway, history).waiting);
    const Verdict verdict = carryOut(gateway, history, wish, options);
    if (program.globals.json)
        printJson(verdictJson(verdict));
    else
        printVerdict(verdict, options.offline);
    return outcomeStatus(verdict.outcome);
}

} // namespace swctl
