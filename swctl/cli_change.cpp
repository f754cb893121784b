#include "swctl/cli_change.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/base/time_text.h"
#include "client/change/preview.h"
#include "client/service/service.h"
#include "swctl/interruption.h"
#include "swctl/report.h"
#include "swctl/validate.h"

#include <algorithm>
#include <unistd.h>

namespace swctl {
namespace {

constexpr int longestTrial = 24 * 3600; // s
constexpr size_t longestComment = 200;  // characters

// One line, as it ends up in lists.
std::string commentText(const std::string &text)
{
    const bool good = std::none_of(text.begin(), text.end(),
                                   [](unsigned char c) { return c < ' ' || c == '\x7f'; });
    if (!good || !isUtf8(text) || text.size() > longestComment)
        throw Failure(exitUsage, "a comment is one line of text of up to 200 bytes");
    return text;
}

// Another change would interfere with undoing the one on trial.
void refuseDuringTrial(const std::optional<Trial> &trial)
{
    if (trial)
        throw Failure(exitRefused,
                      "refused: a change (" + printable(trial->changes.what) + " " +
                          trial->changes.verb + ") awaits confirmation until " +
                          clockText(trial->deadline) +
                          "; nothing was changed\n  'swctl confirm' keeps it, 'swctl confirm "
                          "--take-back' ends it now");
}

int show(const Call &call, GatewayView &gateway, const Wish &wish)
{
    const Preview seen = preview(gateway, wish, {call.flag("--offline"), call.flag("--force")});
    if (call.globals.json)
        printJson(previewJson(seen));
    else
        printPreview(seen, call.flag("--verbose"));
    return seen.reasons.empty() ? exitDone : exitRefused;
}

} // namespace

constexpr std::array<OptionRow, 1> commentFlag = {
    {{"--comment", "TEXT", "Why, for the history; up to 200 bytes", commentText}}};
constexpr std::array<OptionRow, 7> changeFlags = {{
    {"--dry-run", nullptr, "Only show what would change; write and send nothing"},
    {"-v,--verbose", nullptr, "With --dry-run: also list the commands and requests in order"},
    {"--confirm", "SECONDS",
     "Revert the change after this many seconds unless 'swctl confirm' comes first",
     decimal<1, longestTrial>},
    {"--offline", nullptr, "Only write the row; do not notify the service"},
    {"--no-verify", nullptr, "Do not read the hardware back afterwards (faster)"},
    {"--force", nullptr, "Do it even if a check or a startup of the service would refuse it"},
    commentFlag[0],
}};

std::string nameOf(const CommandRow &command)
{
    return command.group != nullptr ? std::string(command.group) + " " + command.name
                                    : command.name;
}

void refuseChangeFlags(const Call &call)
{
    for (const OptionRow &flag : changeFlags)
        if (call.has(namesOf(flag).back().c_str()))
            throw Failure(exitUsage, "give this option to 'swctl batch' itself");
}

GatewayView openGateway(const Globals &globals, Access access)
{
    return {Database(globals.database, access), globals.site};
}

ChangeLock lockChanges(const Globals &globals)
{
    ChangeLock lock(globals.database);
    const int patience = std::min(globals.wait, secondsLeft(globals.wait));
    if (!lock.held() && patience > 0)
        fprintf(stderr, "swctl: another swctl is changing this database; waiting\n");
    lock.wait(patience);
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
        constexpr size_t few = 20; // small sets finish too fast to be worth showing
        if (all <= few)
            return;
        fprintf(stderr, "\r%zu of %zu %s\x1b[K%s", done, all, what, done >= all ? "\r\x1b[K" : "");
        fflush(stderr);
    };
}

GatewayView gatewayFor(const Call &call)
{
    return openGateway(call.globals, call.flag("--dry-run") ? Access::read : Access::write);
}

int change(const Call &call, const Wish &wish)
{
    return change(call, gatewayFor(call), wish);
}

int change(const Call &call, GatewayView gateway, const Wish &wish, std::vector<NamedRequest> named)
{
    if (call.has("--confirm") && (call.flag("--dry-run") || call.flag("--offline")))
        throw Failure(exitUsage, "--confirm does not go with --dry-run or --offline");
    if (call.flag("--dry-run"))
        return show(call, gateway, wish);
    ChangeOptions options;
    options.offline = call.flag("--offline");
    options.verify = !call.flag("--no-verify");
    options.force = call.flag("--force");
    options.named = std::move(named);
    options.through = nameOf(call.command());
    options.comment = call.text("--comment");
    options.onTrial = call.integer("--confirm");
    options.told = progressOn("changes announced");
    const Globals &globals = call.globals;
    const ChangeLock lock = lockChanges(globals);
    options.reached = changeReached;
    const InterruptionTold interruption(InterruptionTold::Work::change);
    History history(globals.database);
    refuseDuringTrial(options.offline ? trialOf(globals.database)
                                      : recoverFirst(gateway, history).waiting);
    const Verdict verdict = carryOut(gateway, history, wish, options);
    if (globals.json)
        printJson(verdictJson(verdict));
    else
        printVerdict(verdict, options.offline);
    return outcomeStatus(verdict.outcome);
}

} // namespace swctl
