// swctl, the command-line client of the switch manager: changes the
// configuration database and tells the service, sends requests, shows what is
// configured and follows the log.
#include "client/base/failure.h"
#include "client/base/json.h"
#include "client/base/text.h"
#include "client/service/service.h"
#include "swctl/cli.h"
#include "swctl/complete.h"
#include "swctl/usage.h"
#include "swctl/validate.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

using namespace swctl;

constexpr const char *introduction =
    "Changes and shows the configuration of the Ethernet switches of this gateway.";
constexpr const char *exitStatuses =
    "Exit status:\n"
    "  0  done\n"
    "  1  refused; nothing is different from before\n"
    "  2  wrong arguments, a database that cannot be used, or output that\n"
    "     cannot be written\n"
    "  3  unanswered: the service cannot be reached, or did not answer\n"
    "  4  differs: rows and hardware do not agree; 'swctl repair' mends\n"
    "     it, or says what only a restart can\n";

void addGlobalOptions(Program &program)
{
    CLI::App &app = program.app;
    app.set_help_flag("-h,--help", "Show this help and end");
    app.set_version_flag("--version", "swctl " SWMGR_VERSION, "Show the version and end");
    app.add_option("--database", program.globals.database, "Configuration database")
        ->envname("SWMGR_DATABASE")
        ->type_name("FILE")
        ->capture_default_str();
    app.add_option("--relay-dir", program.globals.relayDirectory,
                   "Directory of the service's sockets")
        ->envname("RELAY_DIR")
        ->type_name("DIR");
    app.add_option("--site", program.globals.site,
                   "File that says where devices and interfaces are, for a simulated gateway")
        ->envname("SWMGR_SITE")
        ->type_name("FILE");
    // The default is the other swctl's; the service has its relay's own limit, since a
    // start with thousands of VLANs answers late.
    app.add_option_function<std::string>(
           "--wait",
           [&program](const std::string &seconds) {
               program.globals.wait = std::stoi(seconds);
               limitAnswers(program.globals.wait);
           },
           "Seconds to wait for another swctl (10 unless given) and for each answer of the "
           "service (180 unless given), 0 to 3600; 0 does not wait for the other swctl, and a "
           "second for an answer")
        ->type_name("SECONDS")
        ->transform(decimal(0, 3600));
    app.add_flag("--json", program.globals.json, "Print JSON");
}

int generate(const CLI::App &app, const std::string &kind)
{
    const std::string text = kind == "man" ? manualPage(app) : bashCompletion(app);
    return fputs(text.c_str(), stdout) >= 0 ? exitDone : exitUsage;
}

int parseAndRun(Program &program, int argc, char **argv)
{
    CLI::App &app = program.app;
    std::string generated;
    std::string completed;
    app.add_option("--complete", completed)->group("");
    app.add_option("--generate", generated)->check(CLI::IsMember({"man", "bash"}))->group("");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
            return app.exit(error); // help or version
        if (!completed.empty()) {
            printCompletions(program.globals, completed);
            return exitDone;
        }
        if (!generated.empty())
            return generate(app, generated);
        const std::optional<std::string> unknown = unknownWord(app, program.words);
        fprintf(stderr, "swctl: %s\nSee 'swctl --help' or the --help of the command.\n",
                unknown ? unknown->c_str() : printable(error.what()).c_str());
        return exitUsage;
    }
    useRelayDirectory(program.globals.relayDirectory);
    try {
        return program.run();
    } catch (const Failure &failure) {
        if (program.globals.json)
            printJson({{"outcome", failure.status == exitRefused       ? "refused"
                                   : failure.status == exitUnreachable ? "unanswered"
                                                                       : "unusable"},
                       {"reason", failure.what()}});
        throw;
    }
}

// What was to be shown and could not be is a failure, whatever else was done.
int written(int status)
{
    errno = 0; // stays 0 where it was an earlier write that failed
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
        Program program;
        program.words.assign(argv + 1, argv + argc);
        program.everything = program.mayRun("--generate");
        program.app.name("swctl");
        program.app.description(introduction);
        program.app.footer(exitStatuses);
        program.app.fallthrough();
        program.app.require_subcommand(1);
        program.app.formatter(std::make_shared<HelpFormatter>());
        program.app.get_formatter()->column_width(32);
        addGlobalOptions(program);
        addConfigurationCommands(program);
        addSwitchCommands(program);
        addRequestCommands(program);
        addViewCommands(program);
        addFileCommands(program);
        addInitCommand(program);
        addTrialCommands(program);
        addCompareCommands(program);
        addStateCommands(program);
        addMetricsCommand(program);
        addCheckCommand(program);
        addExplainCommand(program);
        addWatchCommand(program);
        return written(parseAndRun(program, argc, argv));
    } catch (const Failure &failure) {
        printLines(stderr, std::string("swctl: ") + failure.what());
        return failure.status;
    } catch (const std::exception &error) {
        fprintf(stderr, "swctl: %s\n", error.what());
        return exitUsage;
    }
}
