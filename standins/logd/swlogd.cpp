// swlogd, the logging module: receives log records as relay module 20, prints or appends
// them, and keeps the last ones for clients that follow the log.
#include "common/arguments.h"
#include "common/clock.h"
#include "common/exit_status.h"
#include "common/log_rank.h"
#include "common/signals.h"
#include "platform/relay.h"
#include "standins/logd/counters.h"
#include "standins/logd/failures.h"
#include "standins/logd/line.h"
#include "standins/logd/output.h"
#include "standins/logd/ring.h"
#include "standins/logd/settings.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <getopt.h>

namespace {

constexpr int listenPeriod = 1000000; // us
constexpr int64_t usualSize = 4 * 1024 * 1024;
constexpr int32_t noRank = -1; // everything but tools that succeeded

struct Options {
    const char *output = nullptr; // file to append to; null: standard output
    int32_t rank = noRank;        // less urgent records are not written
    int64_t maxSize = usualSize;  // size of the file in bytes; 0: no limit
};

// Written by the signal handler.
volatile sig_atomic_t stopRequested = 0;
volatile sig_atomic_t reopenRequested = 0;

constinit Options options = {}; // written from the arguments

constexpr char usage[] =
    "Usage: swlogd [--output FILE] [--max-size BYTES] [--level LEVEL]\n"
    "Receives log records from the device's services and writes one line for each.\n"
    "\n"
    "  -o, --output FILE     append to FILE instead of writing to standard output;\n"
    "                        SIGHUP reopens it, for log rotation\n"
    "  -m, --max-size BYTES  rename FILE to FILE.1 and start a new one before it\n"
    "                        exceeds BYTES; K or M may follow (default 4M, 0: no\n"
    "                        limit)\n"
    "  -l, --level LEVEL     leave out records less severe than LEVEL: error,\n"
    "                        warning, info, notice, tool, debug (default: all but\n"
    "                        tool)\n"
    "  -h, --help            show this text\n"
    "  -V, --version         show the version\n"
    "\n"
    "A command line run by the switch manager is a warning if it failed, and \"tool\"\n"
    "if it succeeded or had no interface to remove.\n"
    "RELAY_DIR is the directory of the messaging sockets (default /run/relay).\n"
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
    signalHandle(SIGTERM, onSignal);
    signalHandle(SIGINT, onSignal);
    signalHandle(SIGHUP, onSignal);
    signalsReset();
}

// Developer messages arrive only if they were asked for, and then all messages have their
// level.
bool isWanted(int32_t rank)
{
    return options.rank == noRank ? rank != LOG_RANK_TOOL : rank <= options.rank;
}

void writeEntry(const SwMgrLogEntry &entry, const char *text)
{
    char line[logd::maxLine];
    if (isWanted(logRank(entry.level, text, entry.textLength)))
        logd::outputWrite(line, logd::formatLine(entry, text, line));
}

void writeDropped(const SwMgrLogEntry &entry)
{
    SwMgrLogEntry notice = entry;
    notice.module = LOGGING_RELAY_MODULE_ID;
    notice.level = SWMGR_LOG_ERROR;
    char text[64];
    const int length =
        snprintf(text, sizeof(text), "%u records of module %u were lost",
                 static_cast<unsigned>(entry.dropped), static_cast<unsigned>(entry.module));
    notice.textLength = static_cast<uint32_t>(length);
    writeEntry(notice, text);
}

// The rows of the last markers, of which each reader sends its own.
constexpr size_t markerCount = 64;
constinit int32_t markers[markerCount] = {};
constinit size_t nextMarker = 0;

// A reader's own lines are not written or kept; only that they arrived is.
bool takeMarker(const SwMgrLogEntry &entry, const char *text)
{
    int32_t rowId = 0;
    bool isLast = false;
    if (entry.module != SWMGR_RELAY_MODULE_ID ||
        !isMarkerLine({text, entry.textLength}, rowId, isLast))
        return false;
    logd::ringLost(entry.dropped);
    logd::settingNote(entry, text); // for the records that were lost
    if (isLast)
        markers[nextMarker++ % markerCount] = rowId;
    return true;
}

// 1: the marker of the row has arrived, and with it all records sent before; 0: it has not.
int markerAnswer(const void *data, int length)
{
    SwMgrLogFollowRequest wanted;
    if (data == nullptr || length != static_cast<int>(sizeof(wanted)))
        return -EINVAL;
    memcpy(&wanted, data, sizeof(wanted));
    for (const int32_t marker : markers)
        if (marker != 0 && static_cast<uint64_t>(marker) == wanted.after)
            return 1;
    return 0;
}

int takeRecord(const RelayMsgHdr &header, const void *data, int length, const char *text,
               uint32_t textLength)
{
    SwMgrLogRecord record;
    if (data == nullptr || length != static_cast<int>(sizeof(record)) || text == nullptr)
        return -EINVAL;
    memcpy(&record, data, sizeof(record));
    SwMgrLogEntry entry = {};
    entry.time = nanosecondsNow(CLOCK_REALTIME);
    entry.module = record.moduleId;
    entry.level = record.level;
    entry.dropped = header.reserved3;
    const size_t bound =
        textLength < SWMGR_LOG_TEXT_SIZE ? textLength : uint32_t{SWMGR_LOG_TEXT_SIZE};
    entry.textLength = static_cast<uint32_t>(strnlen(text, bound));
    if (entry.dropped != 0)
        writeDropped(entry);
    if (takeMarker(entry, text))
        return 0;
    writeEntry(entry, text);
    entry.number = logd::ringAppend(entry, text);
    logd::failureNote(entry, text);
    logd::counterNote(entry, text);
    logd::settingNote(entry, text);
    return 0;
}

int onMessage(void * /*arg*/, RelayMsgHdr *header, int type, void *data, int length, void *reply,
              uint32_t *replyLength)
{
    if (header->request == 0)
        return 0;
    switch (type) {
    case LOGGING_MSG_LOG:
        return takeRecord(*header, data, length, static_cast<const char *>(reply), *replyLength);
    case LOGGING_MSG_FOLLOW:
        return logd::ringAnswer(data, length, reply, replyLength);
    case LOGGING_MSG_TOOLS:
        return logd::failuresAnswer(data, length, reply, replyLength);
    case LOGGING_MSG_COUNTERS:
        return logd::countersAnswer(data, length, reply, replyLength);
    case LOGGING_MSG_SETTINGS:
        return logd::settingsAnswer(data, length, reply, replyLength);
    case LOGGING_MSG_MARKER:
        return markerAnswer(data, length);
    default:
        return -EINVAL;
    }
}

// Bytes, with the suffix K or M for kibi- or mebibytes.
bool sizeRead(const char *text, int64_t &size)
{
    char *end = nullptr;
    errno = 0;
    const long number = strtol(text, &end, 10);
    const int64_t unit = *end == 'K' ? 1024 : *end == 'M' ? 1024 * 1024 : 1;
    if (end == text || errno != 0 || number < 0 || number > INT_MAX ||
        end[unit == 1 ? 0 : 1] != '\0')
        return false;
    size = number * unit;
    return true;
}

int misused(const char *what, const char *text, const char *advice)
{
    fprintf(stderr, "swlogd: no %s '%s': use %s\n", what, text, advice);
    return EXIT_USAGE;
}

// Returns -1 to go on, an exit status otherwise.
int readArguments(int argc, char **argv)
{
    static const struct option known[] = {
        {"output", required_argument, nullptr, 'o'}, {"max-size", required_argument, nullptr, 'm'},
        {"level", required_argument, nullptr, 'l'},  {"help", no_argument, nullptr, 'h'},
        {"version", no_argument, nullptr, 'V'},      {nullptr, 0, nullptr, 0},
    };
    for (int option = 0; (option = getopt_long(argc, argv, "o:m:l:hV", known, nullptr)) != -1;) {
        switch (option) {
        case 'o':
            options.output = optarg;
            break;
        case 'm':
            if (!sizeRead(optarg, options.maxSize))
                return misused("size", optarg, "a number, optionally followed by K or M");
            break;
        case 'l':
            if (!logRankByName(optarg, options.rank))
                return misused("level", optarg, logRankList);
            break;
        default:
            return commonOptionTake(option, "swlogd", usage);
        }
    }
    return noMoreArguments("swlogd", optind, argc, argv);
}

} // namespace

int main(int argc, char **argv)
{
    const int status = readArguments(argc, argv);
    if (status >= 0)
        return status;
    installSignals();
    if (!logd::outputOpen(options.output, options.maxSize))
        return EXIT_FAILED;
    relayInit();
    RelayCtx *ctx = relayRegister(LOGGING_RELAY_MODULE_ID, /*mode=*/2, onMessage, nullptr);
    if (ctx == nullptr) {
        fputs("swlogd: cannot register as the logging module\n", stderr);
        return EXIT_FAILED;
    }
    logd::ringBegin();
    while (stopRequested == 0) {
        relayListen(ctx, listenPeriod);
        logd::outputFlush();
        if (reopenRequested != 0) {
            reopenRequested = 0;
            logd::outputReopen();
        }
    }
    relayUnRegister(ctx);
    relayDeInit();
    return EXIT_STOPPED;
}
