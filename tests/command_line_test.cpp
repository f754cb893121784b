// The rows of commands and options, and what the parser makes of words with them.
#include "client/base/failure.h"
#include "client/base/text.h"
#include "swctl/commands.h"
#include "swctl/manual.h"
#include "swctl/parser.h"
#include "swctl/usage.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <set>

using namespace swctl;

namespace {

// As a shell parts them, as far as these lines need it.
std::vector<std::string> shellWords(const std::string &line)
{
    std::vector<std::string> words = wordsOf(line);
    for (std::string &word : words)
        if (word == "\"\"")
            word.clear();
    return words;
}

std::string faultOf(const CommandTable &table, const std::string &line)
{
    try {
        static_cast<void>(parse(table, shellWords(line)));
        return "nothing";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status, exitUsage) << line;
        return failure.what();
    }
}

struct RightLine {
    const char *line;
    const char *path;   // of the command
    const char *option; // asked for
    const char *given;  // its values with blanks between; "-": not given
};

const RightLine rightLines[] = {
    {"vlan add 0010", "vlan add", "ID", "10"},
    {"vlan add --ports 5,0-2,1 10", "vlan add", "--ports", "0,1,2,5"},
    {"vlan add 10 --ports=0-2", "vlan add", "--ports", "0,1,2"},
    {"vlan set 10 --untagged \"\"", "vlan set", "--untagged", ""},
    {"vlan set 10", "vlan set", "--ports", "-"},
    {"vlan add 10 --switch-only on", "vlan add", "--switch-only", "1"},
    {"vlan add 10 -v --dry-run", "vlan add", "--verbose", "1"},
    {"--json vlan list", "vlan list", "--json", "1"},
    {"vlan --wait 007 list", "vlan list", "--wait", "7"},
    {"vlan list --database x", "vlan list", "--database", "x"},
    {"port add PSE 1 --map BCM:3,BCM:4", "port add", "--map", "BCM:3,BCM:4"},
    {"port set PSE 1 --rowid -5", "port set", "--rowid", "-5"},
    {"queues --port all --weights 1,02 --weights 3", "queues", "--weights", "1 2 3"},
    {"queues --port 2 --weights 4 3", "queues", "--weights", "4 3"},
    {"event t -1 77 --old a=1,2 --old b=3", "event", "--old", "a=1,2 b=3"},
    {"event t -1 77", "event", "ROWID", "-1"},
    {"command 47 --payload 0a:0B", "command", "--payload", "0a0B"},
    {"explain vlan 5 port PSE:all", "explain vlan", "PORT", "PSE:all"},
    {"undo", "undo", "N", "-"},
    {"diff -- ", "diff", "--all", "-"},
};

struct WrongLine {
    const char *line;
    const char *fault;
};

const WrongLine wrongLines[] = {
    {"", "A subcommand is required"},
    {"vlan", "A subcommand is required"},
    {"vlna list", "there is no command 'vlna'; did you mean 'vlan'?"},
    {"vlan lst", "there is no command 'lst'; did you mean 'list'?"},
    {"watchdog", "there is no command 'watchdog'"},
    {"vlan list --jsno", "there is no option '--jsno'; did you mean '--json'?"},
    {"vlan list --no-move", "there is no option '--no-move'"},
    {"vlan list --port 1 --ports 1", "there is no option '--ports'; did you mean '--port'?"},
    {"vlan list -x", "there is no option '-x'"},
    {"vlan add", "ID is required"},
    {"vlan add --ports 1", "ID is required"},
    {"vlan add 10 20", "The following argument was not expected: 20"},
    {"vlan add 10 --ports", "--ports: 1 required LIST missing"},
    {"vlan set 10 --untagged=", "--untagged: 1 required LIST missing"},
    {"vlan add 10 --ports 1 --ports 2", "--ports: At Most 1 required but received 2"},
    {"vlan add 10 --dry-run=no", "dry-run was given a disallowed flag override"},
    {"vlan add 4095", "ID: 4095 is not within 1 to 4094"},
    {"vlan add -1", "ID: -1 is not within 1 to 4094"},
    {"vlan add 99999999999999999999", "ID: '99999999999999999999' is not a number from 1 to 4094"},
    {"vlan list --wait 3601", "--wait: 3601 is not within 0 to 3600"},
    {"rate-limit --rate 64", "--port is required"},
    {"queues --port all --weights 1,2,3,4,5", "--weights: At Most 4 required but received 5"},
    {"init --template x", "--template: 'x' is not one of none, gateway, chip, bridge"},
    {"explain vlan 5 prt 3", "port: 'prt' is not the word 'port'"},
    {"--generate html", "--generate: 'html' is not one of man, bash"},
};

// A command line of a help's example; empty for what goes before or after a pipe.
std::string exampleLine(const std::string &line)
{
    const size_t start = line.rfind("| swctl ") != line.npos ? line.rfind("| swctl ") + 8
                         : line.starts_with("  swctl ")      ? 8
                                                             : line.npos;
    EXPECT_NE(start, line.npos) << line;
    return start == line.npos ? "" : line.substr(start, line.find(" | ", start) - start);
}

TEST(CommandLine, givesWhatItSaysInItsNormalForm)
{
    for (const RightLine &right : rightLines) {
        const Parsed parsed = parse(commandTable, shellWords(right.line));
        EXPECT_EQ(parsed.place.path(), right.path) << right.line;
        std::string given;
        for (const std::string &value : parsed.call.list(right.option))
            given += (given.empty() ? "" : " ") + value;
        EXPECT_EQ(parsed.call.has(right.option) ? given : "-", right.given) << right.line;
    }
}

TEST(CommandLine, thatIsWrongIsRefusedWithTheReason)
{
    for (const WrongLine &wrong : wrongLines)
        EXPECT_EQ(faultOf(commandTable, wrong.line), wrong.fault) << wrong.line;
}

TEST(CommandLine, asksForHelpOfThePlaceThatItReached)
{
    for (const auto &[line, path] :
         std::initializer_list<std::array<std::string, 2>>{{"--help", ""},
                                                           {"vlan -h", "vlan"},
                                                           {"vlan add --help", "vlan add"},
                                                           {"--help vlan add 1", "vlan add"}}) {
        const Parsed parsed = parse(commandTable, shellWords(line));
        EXPECT_EQ(parsed.asked, Asked::help) << line;
        EXPECT_EQ(parsed.place.path(), path) << line;
    }
}

TEST(CommandLine, needsNoCommandForAnOptionThatStandsAlone)
{
    for (const char *line : {"--version", "vlan --version", "vlan add x --generate man",
                             "explain vlan --complete ports --database x"}) {
        const Parsed parsed = parse(commandTable, shellWords(line));
        EXPECT_EQ(parsed.asked, Asked::option) << line;
    }
}

TEST(CommandLine, takesInitialValuesAndThoseOfTheEnvironment)
{
    const auto database = [](const char *line) {
        return globalsOf(parse(commandTable, shellWords(line)).call).database;
    };
    EXPECT_EQ(parse(commandTable, {"log"}).call.number("--lines"), 20);
    EXPECT_EQ(database("status"), "/etc/swmgr/config.db");
    setenv("SWMGR_DATABASE", "/from/environment", 1);
    EXPECT_EQ(database("status"), "/from/environment");
    EXPECT_EQ(database("status --database given"), "given");
    unsetenv("SWMGR_DATABASE");
}

TEST(CommandLine, ofABatchChangesRowsAndHasNoOptionsOfTheProgram)
{
    EXPECT_EQ(faultOf(changeTable, "vlan add 10"), "nothing");
    EXPECT_EQ(faultOf(changeTable, "vlan add 10 --json"), "there is no option '--json'");
    EXPECT_EQ(faultOf(changeTable, "vlan list"), "there is no command 'list'");
}

TEST(Commands, haveExamplesThatTheParserTakes)
{
    for (const CommandRow *command : commandTable.commands) {
        bool shown = false; // others stand beside it
        for (const std::string &line : partsOf(command->examples, '\n')) {
            const std::string example = exampleLine(line);
            EXPECT_EQ(faultOf(commandTable, example), "nothing") << line;
            shown = shown || parse(commandTable, shellWords(example)).place.command == command;
        }
        EXPECT_TRUE(shown) << command->name;
    }
}

TEST(Commands, haveOptionsThatCanBeToldApartAndInitialValuesThatAreTaken)
{
    for (const Place &place : allPlaces(commandTable)) {
        std::set<std::string> names;
        bool optional = false;
        std::vector<const OptionRow *> options = optionsAt(commandTable, place);
        for (const OptionRow &option : commandTable.options)
            options.push_back(&option);
        for (const OptionRow *option : options) {
            for (const std::string &name : namesOf(*option))
                EXPECT_TRUE(names.insert(name).second) << place.path() << " " << name;
            const std::string initial = option->initial != nullptr ? option->initial : "";
            const bool isChecked = option->check != nullptr && !initial.empty();
            EXPECT_EQ(isChecked ? option->check(initial) : initial, initial) << option->name;
            // An argument that may be left out stands last.
            EXPECT_FALSE(optional && option->isArgument() && option->required) << place.path();
            optional = optional || (option->isArgument() && !option->required);
        }
    }
}

TEST(Commands, standInHelpManualAndCompletion)
{
    const std::string top = helpText(commandTable, {});
    const std::string manual = manualPage(commandTable);
    const std::string completion = bashCompletion(commandTable);
    for (const Place &place : allPlaces(commandTable)) {
        const Place first = place.group != nullptr ? Place{place.group} : place;
        EXPECT_NE(top.find(std::string("\n  ") + first.name() + " "), top.npos) << first.name();
        EXPECT_NE(completion.find("'" + place.path() + "') words="), completion.npos);
        const std::string help = helpText(commandTable, place);
        for (const std::string &line : partsOf(help, '\n'))
            EXPECT_LE(line.size(), 80u) << line;
        for (const OptionRow *option : optionsAt(commandTable, place))
            EXPECT_EQ(help.find(std::string("\n  ") + option->name + " ") != help.npos,
                      !option->isHidden())
                << place.path() << " " << option->name;
    }
    EXPECT_EQ(manual.find("complete\\fR"), manual.npos) << "hidden";
}

} // namespace
