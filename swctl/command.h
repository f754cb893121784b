// The command line as tables: commands and their options. The parser, the help, the manual page
// and the completion all use them.
#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

namespace swctl {

class Call;

// Returns the normal form of a text, or throws a Failure that lists what is accepted.
using Check = std::string (*)(const std::string &text);

// The members are in the order that is convenient for writing tables.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct OptionRow {
    const char *name;                  // "--ports" or "-v,--verbose"; "PORT" for an argument
    const char *type;                  // placeholder of the value; null for a flag
    const char *help;                  // without a full stop at the end; null if hidden
    Check check = nullptr;             // null accepts any text
    const char *initial = nullptr;     // default value; null for none
    bool required = false;             // must be given
    const char *environment = nullptr; // environment variable to use instead; null for none
    int listOf = 0;       // maximum number of comma-separated values; 0 for a single value
    bool repeats = false; // may be repeated, one value each
    bool alone = false;   // complete by itself: no command is needed, and none is run

    [[nodiscard]] constexpr bool isArgument() const { return name[0] != '-'; }
    [[nodiscard]] constexpr bool isHidden() const { return help == nullptr; }
    [[nodiscard]] constexpr bool takesValue() const { return type != nullptr; }
};

using OptionList = std::span<const OptionRow>;

struct CommandRow {
    const char *group; // the word before its name; null for none
    const char *name;
    const char *description; // without a full stop at the end
    const char *examples;    // lines, each indented by two spaces
    int (*run)(const Call &call);
    std::array<OptionList, 4> options = {}; // concatenated
};

// The first word of a group of commands.
struct GroupRow {
    const char *name;
    const char *description;
};

struct CommandTable {
    const char *description;  // of the program
    const char *exitStatuses; // lines, each indented by two spaces
    OptionList options;       // accepted before and after every command
    std::span<const GroupRow> groups;
    std::span<const CommandRow *const> commands; // grouped commands are adjacent
};

extern const OptionRow helpOption; // available everywhere

// A position on a command line: after a command, after a group (no command), or before either
// (both null).
struct Place {
    const GroupRow *group = nullptr;
    const CommandRow *command = nullptr;

    [[nodiscard]] const char *name() const; // the last word before it, or "swctl"
    [[nodiscard]] std::string path() const; // the words before it, or ""
};

const char *descriptionOf(const CommandTable &table, const Place &place);

// The places that the next word may lead to; empty after a command.
std::vector<Place> placesAfter(const CommandTable &table, const Place &place);

// All places, each group before its commands.
std::vector<Place> allPlaces(const CommandTable &table);

// The options of the place itself, including hidden ones.
std::vector<const OptionRow *> optionsAt(const CommandTable &table, const Place &place);

// The names of an option, e.g. "-v" and "--verbose".
std::vector<std::string> namesOf(const OptionRow &option);

} // namespace swctl
