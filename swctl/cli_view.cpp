// The read-only commands show and log.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/service/log.h"
#include "client/service/service.h"
#include "common/json.h"
#include "common/log_rank.h"
#include "swctl/cli_change.h"
#include "swctl/commands.h"
#include "swctl/show.h"
#include "swctl/validate.h"

#include <cerrno>
#include <cstring>
#include <deque>
#include <unistd.h>

namespace swctl {
namespace {

void writeFile(const std::string &path, const std::string &text)
{
    FILE *file = fopen(path.c_str(), "we");
    bool written = file != nullptr;
    written = written && fwrite(text.data(), 1, text.size(), file) == text.size();
    if (file != nullptr)
        written = fclose(file) == 0 && written;
    if (!written)
        throw Failure(exitUsage, "cannot write " + printable(path) + ": " + strerror(errno));
}

int runShow(const Call &call)
{
    GatewayView gateway = openGateway(call.globals, Access::read);
    const Network network = networkOf(gateway);
    if (call.has("--svg"))
        writeFile(call.text("--svg"), showSvg(network));
    else if (call.globals.json)
        printJson(showJson(network));
    else
        showText(stdout, network, colourWanted(stdout), terminalColumns(stdout));
    return exitDone;
}

constexpr OptionRow showOptions[] = {
    {"--svg", "FILE", "Draw it as a picture in this file"},
};

// --- log -------------------------------------------------------------------

constexpr useconds_t followInterval = 200000; // us

// Escape sequence, empty for none.
const char *colourOf(int32_t rank)
{
    switch (rank) {
    case LOG_RANK_ERROR:
        return "\x1b[31m";
    case LOG_RANK_WARNING:
        return "\x1b[33m";
    case LOG_RANK_NOTICE:
        return "\x1b[1m";
    case LOG_RANK_TOOL:
    case LOG_RANK_DEBUG:
        return "\x1b[2m";
    default:
        return "";
    }
}

int32_t rankOf(const LogLine &line)
{
    return logRank(line.level, line.text.data(), line.text.size());
}

const char *rankName(int32_t rank)
{
    const char *name = logRankName(rank);
    return name != nullptr ? name : "other";
}

std::string levelName(const std::string &name)
{
    int32_t rank = 0;
    if (!logRankByName(name.c_str(), rank))
        throw Failure(exitUsage, "'" + printable(name) + "' is not one of " + logRankList);
    return name;
}

void printJsonLine(const LogLine &line)
{
    printJson({{"time", line.time},
               {"module", line.module},
               {"level", rankName(rankOf(line))},
               {"levelCode", line.level},
               {"dropped", line.dropped},
               {"text", line.text}});
    fflush(stdout);
}

void printLine(const LogLine &line, bool json, bool colour)
{
    if (json) {
        printJsonLine(line);
        return;
    }
    const int32_t rank = rankOf(line);
    const char *start = colour ? colourOf(rank) : "";
    if (line.dropped != 0)
        printf("... %u records lost\n", line.dropped);
    printf("%s%s  %-7s  %s%s\n", start, timeText(line.time).c_str(), rankName(rank),
           printable(line.text).c_str(), *start != '\0' ? "\x1b[0m" : "");
    fflush(stdout);
}

int runLog(const Call &call)
{
    const bool json = call.globals.json;
    const bool colour = colourWanted(stdout);
    int32_t most = LOG_RANK_DEBUG;
    const bool named =
        logRankByName(call.text("--level").c_str(), most); // validated by the option's check
    // Unless a level was given, hide the routine output of successful tools.
    const auto shown = [most, named](const LogLine &line) {
        return rankOf(line) <= most && (named || rankOf(line) != LOG_RANK_TOOL);
    };
    LogFollower follower(most); // a record's rank is never below its level
    const auto keep = static_cast<size_t>(call.number("--lines"));
    std::deque<LogLine> older;
    follower.read([&](const LogLine &line) {
        if (!shown(line))
            return;
        older.push_back(line);
        if (older.size() > keep)
            older.pop_front();
    });
    for (const LogLine &line : older)
        printLine(line, json, colour);
    while (!call.flag("--no-follow") && ferror(stdout) == 0) {
        usleep(followInterval);
        const uint64_t lost = follower.read([&](const LogLine &line) {
            if (shown(line))
                printLine(line, json, colour);
        });
        if (lost != 0)
            fprintf(stderr, "swctl: %llu records were lost because they were read too slowly\n",
                    static_cast<unsigned long long>(lost));
    }
    return exitDone;
}

constexpr OptionRow logOptions[] = {
    {"--level", "LEVEL",
     "Show this level and more severe ones: error, warning, info, notice, tool, debug; without "
     "it all but tool",
     levelName},
    {"--lines", "N", "Older records to show first, 0 to 512", decimal<0, 512>, "20"},
    {"--no-follow", nullptr, "Exit after the older records"},
};

} // namespace

constexpr CommandRow commands::show = {
    nullptr,
    "show",
    "Show what a startup of the service from the database would give: the switches with their "
    "port mappings, which port is in which VLAN, and where the startup would stop",
    "  swctl show\n  swctl show --svg network.svg\n  swctl show --json",
    runShow,
    {showOptions}};

constexpr CommandRow commands::log = {
    nullptr,
    "log",
    "Follow the log of the service until interrupted",
    "  swctl log --level error\n  swctl log --no-follow --lines 100 --json",
    runLog,
    {logOptions}};

} // namespace swctl
