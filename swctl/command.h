// What a command line can say, as plain rows: commands with their options. The parser,
// the help, the manual page and the completion all read the same rows.
#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

namespace swctl {

class Call;

// Gives the normal form of a text, or throws a Failure that says what is accepted.
using Check = std::string (*)(const std::string &text);

// The order is that in which rows are written.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct OptionRow {
    const char *name;                  // "--ports" or "-v,--verbose"; "PORT": an argument
    const char *type;                  // placeholder of the value; null: a flag without one
    const char *help;                  // without its full stop; null: hidden
    Check check = nullptr;             // null: any text
    const char *initial = nullptr;     // taken where none is given; null: none
    bool required = false;             // must be given
    const char *environment = nullptr; // variable that may give it; null: none
    int listOf = 0;                    // most values between commas; 0: one value
    bool repeats = false;              // may be given several times, one value each
    bool alone = false;                // asks for itself: a command is neither needed nor run

    [[nodiscard]] constexpr bool isArgument() const { return name[0] != '-'; }
    [[nodiscard]] constexpr bool isHidden() const { return help == nullptr; }
    [[nodiscard]] constexpr bool takesValue() const { return type != nullptr; }
};

using OptionList = std::span<const OptionRow>;

struct CommandRow {
    const char *group;       // the word before its name; null: none
    const char *name;        // the word that chooses it
    const char *description; // without its full stop
    const char *examples;    // lines, each two spaces in
    int (*run)(const Call &call);
    std::array<OptionList, 4> options = {}; // one list after another
};

// The first word of several commands.
struct GroupRow {
    const char *name;
    const char *description;
};

struct CommandTable {
    const char *description;  // of the program
    const char *exitStatuses; // lines, each two spaces in
    OptionList options;       // taken before and behind every command
    std::span<const GroupRow> groups;
    std::span<const CommandRow *const> commands; // those of a group together
};

extern const OptionRow helpOption; // of every place

// A place on a command line: behind a command, behind the word of a group (no command),
// or before both (neither).
struct Place {
    const GroupRow *group = nullptr;
    const CommandRow *command = nullptr;

    [[nodiscard]] const char *name() const; // the word that led there, "swctl" before all
    [[nodiscard]] std::string path() const; // the words that led there, "" before all
};

const char *descriptionOf(const CommandTable &table, const Place &place);

// Where the next word may lead; none behind a command.
std::vector<Place> placesAfter(const CommandTable &table, const Place &place);

// Every place with words, each group before its commands.
std::vector<Place> allPlaces(const CommandTable &table);

// The options that belong to a place itself, hidden ones included.
std::vector<const OptionRow *> optionsAt(const CommandTable &table, const Place &place);

// The names of an option: "-v" and "--verbose".
std::vector<std::string> namesOf(const OptionRow &option);

} // namespace swctl
