// swmgrd, the process in which the switch manager runs: sets the library's two flags
// from its arguments, starts the service, and stops it on a signal.
#include "base/log.h"
#include "common/arguments.h"
#include "common/database_journal.h"
#include "common/exit_status.h"
#include "common/signals.h"
#include "host/children.h"
#include "host/configuration.h"
#include "host/database_file.h"
#include "host/notify.h"
#include "host/served_file.h"
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <getopt.h>
#include <unistd.h>

namespace {

constexpr unsigned mostStopTimeout = 3600; // s

struct Options {
    const char *database = nullptr;
    unsigned stopTimeout = 5;          // s from a stop signal to the end of the process
    bool recover = false;              // repair the database and end
    bool requireConfiguration = false; // a failed load is a failed start
};

constinit Options options = {}; // written from the arguments

constexpr char usage[] =
    "Usage: swmgrd --database FILE [OPTION]...\n"
    "       swmgrd --database FILE --recover\n"
    "Keeps the gateway's switches in line with a configuration database.\n"
    "\n"
    "  -d, --database FILE         configuration database (SQLite); must exist\n"
    "  -f, --foreground            log to standard error instead of the logging\n"
    "                              module\n"
    "  -D, --debug                 log developer messages, with operation and source\n"
    "                              line\n"
    "  -s, --stop-timeout SECONDS  end even if busy when stopping takes longer\n"
    "                              than this (default 5)\n"
    "  -c, --require-configuration end with status 1 if the stored configuration\n"
    "                              cannot be fully loaded\n"
    "  -r, --recover               repair a database left half written by a crash,\n"
    "                              and end; needs write access\n"
    "  -h, --help                  show this text\n"
    "  -V, --version               show the version\n"
    "\n"
    "RELAY_DIR is the directory of the messaging sockets (default /run/relay),\n"
    "SAL_CMD_TIMEOUT the seconds a tool may take (default 30). With SAL_VLAN=kernel,\n"
    "sub-interfaces and bridge VLANs are set by requests to the kernel instead of\n"
    "running vconfig, ifconfig and bridge (default tool). Readiness is reported to the\n"
    "socket in NOTIFY_SOCKET.\n"
    "Exit status: 0 stopped by SIGTERM or SIGINT, 1 could not start, 2 usage, 3\n"
    "stopped while busy; the next start writes every VLAN again.\n";

// Written by the signal handler, for a signal that arrives during the start.
volatile sig_atomic_t stopRequested = 0;

void onStopSignal(int /*number*/)
{
    if (stopRequested == 0)
        alarm(options.stopTimeout);
    stopRequested = 1;
    swMgrInitialized = 0;
}

// The service has one thread and may be waiting for a tool, which must not still write
// to the switches when the next service starts. The messaging's files stay, and the
// next service takes them over.
void onStopTimeout(int /*number*/)
{
    childrenEnd();
    constexpr char message[] = "swmgrd: still busy after the stop timeout, ended\n";
    static_cast<void>(!write(STDERR_FILENO, message, sizeof(message) - 1));
    _exit(EXIT_CUT_OFF);
}

void installSignals()
{
    signalHandle(SIGTERM, onStopSignal);
    signalHandle(SIGINT, onStopSignal);
    signalHandle(SIGALRM, onStopTimeout);
    signalHandle(SIGPIPE, SIG_IGN); // losing the log's reader must not end the daemon
    signalHandle(SIGHUP, SIG_IGN);  // nor losing the terminal; there are no settings to reload
    signalsReset();
}

bool secondsRead(const char *text, unsigned &seconds)
{
    char *end = nullptr;
    const unsigned long number = strtoul(text, &end, 10);
    if (end == text || *end != '\0' || number < 1 || number > mostStopTimeout)
        return false;
    seconds = static_cast<unsigned>(number);
    return true;
}

// Returns -1 to go on, an exit status otherwise.
int optionTake(int option)
{
    switch (option) {
    case 'd':
        options.database = optarg;
        return -1;
    case 'f':
        swMgrForeground = 1;
        return -1;
    case 'D':
        swMgrDevDebug = 1;
        return -1;
    case 's':
        if (secondsRead(optarg, options.stopTimeout))
            return -1;
        fprintf(stderr, "swmgrd: --stop-timeout takes 1 to %u seconds, not '%s'\n", mostStopTimeout,
                optarg);
        return EXIT_USAGE;
    case 'c':
        options.requireConfiguration = true;
        return -1;
    case 'r':
        options.recover = true;
        return -1;
    default:
        return commonOptionTake(option, "swmgrd", usage);
    }
}

int readArguments(int argc, char **argv)
{
    static const struct option known[] = {
        {"database", required_argument, nullptr, 'd'},
        {"foreground", no_argument, nullptr, 'f'},
        {"debug", no_argument, nullptr, 'D'},
        {"stop-timeout", required_argument, nullptr, 's'},
        {"require-configuration", no_argument, nullptr, 'c'},
        {"recover", no_argument, nullptr, 'r'},
        {"help", no_argument, nullptr, 'h'},
        {"version", no_argument, nullptr, 'V'},
        {nullptr, 0, nullptr, 0},
    };
    int status = -1;
    for (int option = 0;
         status < 0 && (option = getopt_long(argc, argv, "d:fDs:crhV", known, nullptr)) != -1;)
        status = optionTake(option);
    if (status < 0)
        status = noMoreArguments("swmgrd", optind, argc, argv);
    if (status < 0 && options.database == nullptr)
        status = misusedProgram("swmgrd", "--database FILE is missing");
    return status;
}

int recover()
{
    const char *fault = databaseRecover(options.database);
    if (fault == nullptr)
        return EXIT_STOPPED;
    fprintf(stderr, "swmgrd: database %s cannot be recovered: %s\n", options.database, fault);
    return EXIT_FAILED;
}

// The last message of a startup that did not load everything.
void reportIncomplete(int status)
{
    static_cast<void>(swMgrDebug(nullptr, SWMGR_LOG_ERROR, nullptr, 0,
                                 "the stored configuration was not fully loaded (%d); the "
                                 "messages before show where, and the service %s\n",
                                 status, options.requireConfiguration ? "ends" : "runs"));
}

void announceReady(int status)
{
    char message[128] = "READY=1\nSTATUS=Serving requests\n";
    if (status < 0)
        snprintf(message, sizeof(message),
                 "READY=1\nSTATUS=Serving requests; the configuration was not fully loaded (%d), "
                 "the log shows where it stopped\n",
                 status);
    if (!notifyManager(message))
        fputs("swmgrd: NOTIFY_SOCKET cannot be written to; readiness is not reported\n", stderr);
}

int serve()
{
    servedFileIs(options.database);
    const int status = swMgrInit(options.database);
    if (status < 0) {
        fprintf(stderr,
                "swmgrd: the service could not be started (%d): messaging or the database %s "
                "cannot be used\n",
                status, options.database);
        return EXIT_FAILED;
    }
    const int loaded = configurationStatus();
    const bool refused = options.requireConfiguration && loaded < 0;
    if (loaded < 0)
        reportIncomplete(loaded);
    if (refused)
        fprintf(stderr, "swmgrd: the stored configuration could not be fully loaded (%d)\n",
                loaded);
    if (stopRequested != 0 || refused)
        swMgrInitialized = 0; // startup set it after the signal
    else
        announceReady(loaded);
    swMgrRun();
    static_cast<void>(notifyManager("STOPPING=1\n"));
    servedFileWithdraw();
    swMgrDeinit();
    return refused ? EXIT_FAILED : EXIT_STOPPED;
}

} // namespace

int main(int argc, char **argv)
{
    const int status = readArguments(argc, argv);
    if (status >= 0)
        return status;
    installSignals();
    const char *fault = databaseFileFault(options.database);
    if (fault != nullptr) {
        fprintf(stderr, "swmgrd: database %s: %s\n", options.database, fault);
        return EXIT_FAILED;
    }
    if (!databaseDeletionsLimit(options.database)) {
        fprintf(stderr, "swmgrd: database %s: cannot confine SQLite to its own files\n",
                options.database);
        return EXIT_FAILED;
    }
    return options.recover ? recover() : serve();
}
