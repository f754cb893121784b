// swctl, the command-line client of the switch manager: changes the configuration database and
// notifies the service, sends requests, shows the configuration and follows the log.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/service/service.h"
#include "common/json.h"
#include "swctl/commands.h"
#include "swctl/complete.h"
#include "swctl/manual.h"
#include "swctl/parser.h"
#include "swctl/usage.h"
#include "swctl/waiting.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

// The default handler prints the exception with a demangled name, which costs 50 kB of code. It
// is not needed, because main catches everything.
namespace __cxxabiv1 {
// NOLINTBEGIN(readability-identifier-naming): the runtime's name
extern constinit std::terminate_handler __terminate_handler;
constinit std::terminate_handler __terminate_handler = abort;
// NOLINTEND(readability-identifier-naming)
} // namespace __cxxabiv1

namespace {

using namespace swctl;

int print(const std::string &text)
{
    return fputs(text.c_str(), stdout) >= 0 ? exitDone : exitUsage;
}

int run(const Call &call)
{
    try {
        return call.command().run(call);
    } catch (const Failure &failure) {
        if (call.globals.json)
            printJson({{"outcome", failure.status == exitRefused       ? "refused"
                                   : failure.status == exitUnreachable ? "unanswered"
                                                                       : "unusable"},
                       {"reason", failure.what()}});
        throw;
    }
}

// Options that need no command.
int runAlone(const Call &call)
{
    if (call.flag("--version"))
        return print("swctl " SWMGR_VERSION "\n");
    if (call.has("--generate"))
        return print(call.text("--generate") == "man" ? manualPage(commandTable)
                                                      : bashCompletion(commandTable));
    printCompletions(call.globals, call.text("--complete"));
    return exitDone;
}

int parseAndRun(const std::vector<std::string> &words)
{
    Parsed parsed;
    try {
        parsed = parse(commandTable, words);
        if (parsed.asked == Asked::help)
            return print(helpText(commandTable, parsed.place));
        parsed.call.globals = globalsOf(parsed.call);
        if (parsed.asked == Asked::option)
            return runAlone(parsed.call);
    } catch (const Failure &failure) {
        if (std::find(words.begin(), words.end(), "--json") != words.end())
            printJson({{"outcome", "unusable"}, {"reason", failure.what()}});
        fprintf(stderr, "swctl: %s\nSee 'swctl --help' or the --help of the command.\n",
                failure.what());
        return failure.status;
    }
    useRelayDirectory(parsed.call.globals.relayDirectory);
    constexpr int readersWait = 3; // s; whoever changes something waits longer
    if (parsed.call.has("--wait") && !neverEnds(parsed.call.command()))
        limitWhole(std::max(parsed.call.globals.wait, 1));
    else if (parsed.call.has("--wait"))
        limitAnswers(parsed.call.globals.wait);
    else if (onlyReads(parsed.call.command()))
        limitAnswers(readersWait, /*once=*/true);
    if (!onlyReads(parsed.call.command()))
        tellLateAnswers();
    return run(parsed.call);
}

// Failing to write the output is an error, whatever else succeeded.
int written(int status)
{
    errno = 0; // stays 0 if an earlier write failed
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return status;
    fprintf(stderr, "swctl: the output cannot be written%s%s\n", errno != 0 ? ": " : "",
            errno != 0 ? strerror(errno) : "");
    return status != exitDone ? status : exitUsage;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return written(parseAndRun({argv + 1, argv + argc}));
    } catch (const Failure &failure) {
        printLines(stderr, std::string("swctl: ") + failure.what());
        return failure.status;
    } catch (const std::exception &error) {
        fprintf(stderr, "swctl: %s\n", error.what());
        return exitUsage;
    }
}
