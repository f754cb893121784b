// Flags of changes, and how a command has one carried out; see the header.
#include "swctl/cli_change.h"

#include "client/base/outcome.h"
#include "client/change/journal.h"
#include "swctl/report.h"
#include "swctl/validate.h"

#include <unistd.h>

namespace swctl {
namespace {

constexpr int longestTrial = 24 * 3600; // s

int show(const Program &program, const ChangeFlags &flags, const Plan &plan)
{
    const Preview seen = preview(optionsOf(program.globals, flags), plan);
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

ChangeOptions optionsOf(const Globals &globals, const ChangeFlags &flags)
{
    ChangeOptions options;
    options.databasePath = globals.database;
    options.siteFile = globals.site;
    options.wait = globals.wait;
    options.offline = flags.offline;
    options.verify = !flags.noVerify;
    options.force = flags.force;
    options.onTrial = flags.confirm.empty() ? 0 : std::stoi(flags.confirm);
    return options;
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

int change(const Program &program, const ChangeFlags &flags, const Plan &plan, int undoes)
{
    if (program.batch != nullptr) {
        if (flags.any())
            throw Failure(exitUsage, "this option belongs to 'swctl batch' itself");
        program.batch->push_back(plan);
        return exitDone;
    }
    if (!flags.confirm.empty() && (flags.dryRun || flags.offline))
        throw Failure(exitUsage, "--confirm does not go with --dry-run or --offline");
    if (flags.dryRun)
        return show(program, flags, plan);
    ChangeOptions options = optionsOf(program.globals, flags);
    options.undoes = undoes;
    options.told = progressOn("changes announced");
    { // A database that cannot be used is named before a lock is made beside it.
        const Database database(options.databasePath, Access::write);
    }
    const ChangeLock lock(options.databasePath, options.wait, tellWaiting);
    const Verdict verdict = carryOut(options, plan);
    if (program.globals.json)
        printJson(verdictJson(verdict));
    else
        printVerdict(verdict, options.offline);
    return wordStatus(verdict.word);
}

} // namespace swctl
