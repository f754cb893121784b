// swlogd, the logging module: receives log records as relay module 20, prints
// or appends them, and keeps the last ones for those who follow the log.
#include "common/descriptor.h"
#include "platform/relay.h"
#include "standins/logd/line.h"
#include "standins/logd/ring.h"
#include "swmgr/swmgr_client.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <getopt.h>

namespace {

constexpr int listenPeriod = 1000000; // us

enum ExitStatus {
    EXIT_STOPPED = 0, // ended by a signal that asks for it
    EXIT_FAILED = 1,  // could not start
    EXIT_USAGE = 2
};

struct Options {
    const char *output = nullptr; // file to append to, null: standard output
    int32_t level = INT32_MAX;    // records above it are not written
};

// Written by the signal handler.
volatile sig_atomic_t stopRequested = 0;
volatile sig_atomic_t reopenRequested = 0;

// Where lines go. Set at the start and when the file is opened again.
constinit Options options = {};
constinit int outputFd = STDOUT_FILENO;
constinit bool outputFailed = false; // said once, until a line can be written again

constexpr char usage[] =
    "Usage: swlogd [--output FILE] [--level LEVEL]\n"
    "Receives log records from the device's services and writes one line for each.\n"
    "\n"
    "  -o, --output FILE   append to FILE instead of writing to standard output;\n"
    "                      SIGHUP opens it anew, for the rotation of logs\n"
    "  -l, --level LEVEL   leave out records above LEVEL: error, info, notice, debug\n"
    "  -h, --help          show this text\n"
    "  -V, --version       show the version\n"
    "\n"
    "RELAY_DIR names the directory of the messaging sockets (default /run/relay).\n"
    "Exit status: 0 stopped by SIGTERM or SIGINT, 1 could not start, 2 usage.\n";

void onSignal(int number)
{
    if (number == SIGHUP)
        reopenRequested = 1;
    else
        stopRequested = 1;
}

void installSignals()
{
    struct sigaction action = {};
    action.sa_handler = onSignal; // without SA_RESTART: the wait for records ends
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
}

int openOutput()
{
    if (options.output == nullptr)
        return 0;
    const int fd = open(options.output, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
    if (fd < 0) {
        fprintf(stderr, "swlogd: cannot open %s: %s\n", options.output, strerror(errno));
        return -1;
    }
    if (outputFd != STDOUT_FILENO)
        close(outputFd);
    outputFd = fd;
    return 0;
}

void writeLine(const char *line, size_t length)
{
    const ssize_t written = write(outputFd, line, length);
    if (written < 0 && !outputFailed) {
        fprintf(stderr, "swlogd: cannot write the log: %s; records are lost until it works again\n",
                strerror(errno));
    }
    outputFailed = written < 0;
}

int64_t currentTime()
{
    struct timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

void writeEntry(const logd::LogEntry &entry, const char *text)
{
    char line[logd::maxLine];
    if (entry.level <= options.level)
        writeLine(line, logd::formatLine(entry, text, line));
}

void writeDropped(const logd::LogEntry &entry)
{
    logd::LogEntry notice = entry;
    notice.module = LOGGING_RELAY_MODULE_ID;
    notice.level = SWMGR_LOG_ERROR;
    char text[64];
    const int length =
        snprintf(text, sizeof(text), "%u records of module %u were lost",
                 static_cast<unsigned>(entry.dropped), static_cast<unsigned>(entry.module));
    notice.textLength = static_cast<uint32_t>(length);
    writeEntry(notice, text);
}

int takeRecord(const RelayMsgHdr &header, const void *data, int length, const char *text,
               uint32_t textLength)
{
    SwMgrLogRecord record;
    if (data == nullptr || length != static_cast<int>(sizeof(record)) || text == nullptr)
        return -EINVAL;
    memcpy(&record, data, sizeof(record));
    logd::LogEntry entry = {};
    entry.time = currentTime();
    entry.module = record.moduleId;
    entry.level = record.level;
    entry.dropped = header.reserved3;
    const size_t bound = textLength < logd::maxText ? textLength : logd::maxText;
    entry.textLength = static_cast<uint32_t>(strnlen(text, bound));
    if (entry.dropped != 0)
        writeDropped(entry);
    writeEntry(entry, text);
    logd::ringAppend(entry, text);
    return 0;
}

int onMessage(void * /*arg*/, RelayMsgHdr *header, int type, void *data, int length, void *reply,
              uint32_t *replyLength)
{
    if (header->request == 0)
        return 0;
    if (type == LOGGING_MSG_LOG)
        return takeRecord(*header, data, length, static_cast<const char *>(reply), *replyLength);
    return type == logd::LOG_FOLLOW ? logd::ringAnswer(data, length, reply, replyLength) : -EINVAL;
}

// Returns -1 to go on, an exit status otherwise.
int readArguments(int argc, char **argv)
{
    static const struct option known[] = {
        {"output", required_argument, nullptr, 'o'},
        {"level", required_argument, nullptr, 'l'},
        {"help", no_argument, nullptr, 'h'},
        {"version", no_argument, nullptr, 'V'},
        {nullptr, 0, nullptr, 0},
    };
    for (int option = 0; (option = getopt_long(argc, argv, "o:l:hV", known, nullptr)) != -1;) {
        switch (option) {
        case 'o':
            options.output = optarg;
            break;
        case 'l':
            if (!logd::levelByName(optarg, options.level)) {
                fprintf(stderr, "swlogd: no level '%s': use error, info, notice or debug\n",
                        optarg);
                return EXIT_USAGE;
            }
            break;
        case 'h':
            fputs(usage, stdout);
            return EXIT_STOPPED;
        case 'V':
            puts("swlogd " SWMGR_VERSION);
            return EXIT_STOPPED;
        default:
            fputs("Try 'swlogd --help'.\n", stderr);
            return EXIT_USAGE;
        }
    }
    if (optind < argc) {
        fprintf(stderr, "swlogd: unexpected argument '%s'\nTry 'swlogd --help'.\n", argv[optind]);
        return EXIT_USAGE;
    }
    return -1;
}

} // namespace

int main(int argc, char **argv)
{
    const int status = readArguments(argc, argv);
    if (status >= 0)
        return status;
    installSignals();
    if (openOutput() != 0)
        return EXIT_FAILED;
    relayInit();
    RelayCtx *ctx = relayRegister(LOGGING_RELAY_MODULE_ID, /*mode=*/2, onMessage, nullptr);
    if (ctx == nullptr) {
        fputs("swlogd: cannot register as the logging module\n", stderr);
        return EXIT_FAILED;
    }
    while (stopRequested == 0) {
        relayListen(ctx, listenPeriod);
        if (reopenRequested != 0) {
            reopenRequested = 0;
            static_cast<void>(openOutput());
        }
    }
    relayUnRegister(ctx);
    relayDeInit();
    return EXIT_STOPPED;
}
