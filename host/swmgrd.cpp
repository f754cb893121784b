// swmgrd, the process in which the switch manager runs: sets the library's two
// flags from its arguments, starts the service, and stops it on a signal.
#include "host/database_file.h"
#include "host/notify.h"
#include "swmgr/swmgr.h"

#include <csignal>
#include <cstdio>
#include <getopt.h>

namespace {

enum ExitStatus {
    EXIT_STOPPED = 0, // ended by a signal that asks for it
    EXIT_FAILED = 1,  // could not start
    EXIT_USAGE = 2
};

constexpr char usage[] =
    "Usage: swmgrd --database FILE [--foreground] [--debug]\n"
    "Keeps the gateway's switches in line with a configuration database.\n"
    "\n"
    "  -d, --database FILE   configuration database (SQLite); must exist\n"
    "  -f, --foreground      log to standard error instead of the logging module\n"
    "  -D, --debug           log developer messages, with operation and source line\n"
    "  -h, --help            show this text\n"
    "  -V, --version         show the version\n"
    "\n"
    "RELAY_DIR names the directory of the messaging sockets (default /run/relay),\n"
    "SAL_CMD_TIMEOUT the seconds a tool may take (default 30). Readiness is told to\n"
    "the socket that NOTIFY_SOCKET names.\n"
    "Exit status: 0 stopped by SIGTERM or SIGINT, 1 could not start, 2 usage.\n";

// Written by the signal handler, for a signal that comes during the start.
volatile sig_atomic_t stopRequested = 0;

void onStopSignal(int /*number*/)
{
    stopRequested = 1;
    swMgrInitialized = 0;
}

void installSignals()
{
    struct sigaction stop = {};
    stop.sa_handler = onStopSignal; // without SA_RESTART: the wait for requests ends
    sigaction(SIGTERM, &stop, nullptr);
    sigaction(SIGINT, &stop, nullptr);
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN; // a log reader that goes away ends nothing
    sigaction(SIGPIPE, &ignore, nullptr);
}

// Returns -1 to go on, an exit status otherwise.
int readArguments(int argc, char **argv, const char *&database)
{
    static const struct option known[] = {
        {"database", required_argument, nullptr, 'd'}, {"foreground", no_argument, nullptr, 'f'},
        {"debug", no_argument, nullptr, 'D'},          {"help", no_argument, nullptr, 'h'},
        {"version", no_argument, nullptr, 'V'},        {nullptr, 0, nullptr, 0},
    };
    for (int option = 0; (option = getopt_long(argc, argv, "d:fDhV", known, nullptr)) != -1;) {
        switch (option) {
        case 'd':
            database = optarg;
            break;
        case 'f':
            swMgrForeground = 1;
            break;
        case 'D':
            swMgrDevDebug = 1;
            break;
        case 'h':
            fputs(usage, stdout);
            return EXIT_STOPPED;
        case 'V':
            puts("swmgrd " SWMGR_VERSION);
            return EXIT_STOPPED;
        default:
            fputs("Try 'swmgrd --help'.\n", stderr);
            return EXIT_USAGE;
        }
    }
    if (optind < argc) {
        fprintf(stderr, "swmgrd: unexpected argument '%s'\nTry 'swmgrd --help'.\n", argv[optind]);
        return EXIT_USAGE;
    }
    if (database == nullptr) {
        fputs("swmgrd: --database FILE is missing\nTry 'swmgrd --help'.\n", stderr);
        return EXIT_USAGE;
    }
    return -1;
}

int serve(const char *database)
{
    const int status = swMgrInit(database);
    if (status < 0) {
        fprintf(stderr,
                "swmgrd: the service could not be started (%d): messaging or the database %s "
                "cannot be used\n",
                status, database);
        return EXIT_FAILED;
    }
    if (stopRequested != 0)
        swMgrInitialized = 0; // the start has set it after the signal
    else if (!notifyManager("READY=1\nSTATUS=Serving requests\n"))
        fputs("swmgrd: NOTIFY_SOCKET cannot be written to; readiness is not announced\n", stderr);
    swMgrRun();
    static_cast<void>(notifyManager("STOPPING=1\n"));
    swMgrDeinit();
    return EXIT_STOPPED;
}

} // namespace

int main(int argc, char **argv)
{
    const char *database = nullptr;
    const int status = readArguments(argc, argv, database);
    if (status >= 0)
        return status;
    const char *fault = databaseFileFault(database);
    if (fault != nullptr) {
        fprintf(stderr, "swmgrd: database %s: %s\n", database, fault);
        return EXIT_FAILED;
    }
    installSignals();
    return serve(database);
}
