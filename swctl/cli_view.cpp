// The commands that only look: show and log.
#include "swctl/cli.h"
#include "swctl/log.h"
#include "swctl/model.h"
#include "swctl/outcome.h"
#include "swctl/service.h"
#include "swctl/show.h"
#include "swctl/text.h"
#include "swctl/validate.h"

#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>
#include <thread>

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

int runShow(const Globals &globals, const std::string &svgFile)
{
    Database database(globals.database, Access::read);
    const Model model = readModel(database);
    const Matrix matrix = membership(model);
    if (!svgFile.empty())
        writeFile(svgFile, showSvg(model, matrix));
    else if (globals.json)
        showJson(stdout, model, matrix);
    else
        showText(stdout, model, matrix, colourWanted(stdout));
    return exitDone;
}

void addShow(Program &program)
{
    const auto svgFile = std::make_shared<std::string>();
    CLI::App *command = addCommand(
        program, program.app, "show",
        "Show what the database says: the switches with their port mappings, and which port "
        "takes part in which VLAN when the service starts from it",
        "  swctl show\n  swctl show --svg network.svg\n  swctl show --json",
        [&program, svgFile] { return runShow(program.globals, *svgFile); });
    if (!program.mayRun("show"))
        return;
    command->add_option("--svg", *svgFile, "Draw it as a picture into this file")
        ->type_name("FILE");
}

// --- log -------------------------------------------------------------------

constexpr auto followInterval = std::chrono::milliseconds(200);

struct LogArguments {
    std::string level = "notice"; // least urgent level to show
    std::string lines = "20";     // older records to show first
    bool noFollow = false;        // end after the older records
};

struct LevelName {
    const char *name;
    int32_t most;       // highest SWMGR_LOG_... value it lets through
    const char *colour; // escape sequence, empty: none
};

// By urgency: each shows those before it too.
constexpr LevelName levels[] = {{"error", SWMGR_LOG_ERROR, "\x1b[31m"},
                                {"info", SWMGR_LOG_INFO, ""},
                                {"notice", SWMGR_LOG_NOTICE, "\x1b[1m"},
                                {"debug", SWMGR_LOG_DEVDEBUG, "\x1b[2m"}};

int32_t mostOf(const std::string &name)
{
    int32_t most = SWMGR_LOG_DEVDEBUG;
    for (const LevelName &level : levels)
        if (level.name == name)
            most = level.most;
    return most;
}

std::string checkLevel(std::string &name)
{
    for (const LevelName &level : levels)
        if (level.name == name)
            return {};
    return "'" + printable(name) + "' is not one of error, info, notice and debug";
}

void printJsonLine(const LogLine &line)
{
    JsonWriter json;
    json.open('{').key("time").number(line.time).key("module").number(line.module);
    json.key("level").string(levelName(line.level)).key("levelCode").number(line.level);
    json.key("dropped").number(line.dropped).key("text").string(line.text);
    json.close('}').print(stdout);
}

void printLine(const LogLine &line, bool json, bool colour)
{
    if (json) {
        printJsonLine(line);
        return;
    }
    const char *start = "";
    for (const LevelName &level : levels)
        if (colour && level.most == line.level)
            start = level.colour;
    if (line.dropped != 0)
        printf("... %u records were lost\n", line.dropped);
    printf("%s%s  %-6s  %s%s\n", start, timeText(line.time).c_str(), levelName(line.level),
           printable(line.text).c_str(), *start != '\0' ? "\x1b[0m" : "");
    fflush(stdout);
}

int runLog(const Globals &globals, const LogArguments &arguments)
{
    const bool colour = colourWanted(stdout);
    LogFollower follower(mostOf(arguments.level));
    const size_t keep = std::stoul(arguments.lines);
    std::deque<LogLine> older;
    follower.read([&](const LogLine &line) {
        older.push_back(line);
        if (older.size() > keep)
            older.pop_front();
    });
    for (const LogLine &line : older)
        printLine(line, globals.json, colour);
    while (!arguments.noFollow && ferror(stdout) == 0) {
        std::this_thread::sleep_for(followInterval);
        const uint64_t lost =
            follower.read([&](const LogLine &line) { printLine(line, globals.json, colour); });
        if (lost != 0)
            fprintf(stderr, "swctl: %llu records came faster than they were read\n",
                    static_cast<unsigned long long>(lost));
    }
    return exitDone;
}

void addLog(Program &program)
{
    const auto arguments = std::make_shared<LogArguments>();
    CLI::App *command =
        addCommand(program, program.app, "log", "Follow the log of the service until interrupted",
                   "  swctl log --level error\n  swctl log --no-follow --lines 100 --json",
                   [&program, arguments] { return runLog(program.globals, *arguments); });
    if (!program.mayRun("log"))
        return;
    command->add_option("--level", arguments->level, "Show this level and the more urgent ones")
        ->type_name("error|info|notice|debug")
        ->capture_default_str()
        ->check(CLI::Validator(&checkLevel, ""));
    command->add_option("--lines", arguments->lines, "Older records to show first, 0 to 512")
        ->type_name("N")
        ->capture_default_str()
        ->transform(decimal(0, 512));
    command->add_flag("--no-follow", arguments->noFollow, "End after the older records");
}

} // namespace

void addViewCommands(Program &program)
{
    addShow(program);
    addLog(program);
}

} // namespace swctl
