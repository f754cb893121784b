#include "swctl/manual.h"

#include "client/check/check.h"
#include "client/check/check_rules.h"
#include "common/log_rank.h"

#include <algorithm>
#include <set>

namespace swctl {
namespace {

// Escapes text for troff: backslashes, hyphens and leading dots are special.
std::string troff(const std::string &text)
{
    std::string out;
    for (const char c : text)
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else if ((c == '.' || c == '\'') && (out.empty() || out.back() == '\n'))
            (out += "\\&") += c;
        else
            out += c;
    return out;
}

std::vector<const OptionRow *> shownOptions(const CommandTable &table, const Place &place)
{
    std::vector<const OptionRow *> options = optionsAt(table, place);
    std::erase_if(options, [](const OptionRow *option) { return option->isHidden(); });
    return options;
}

// The name that completion offers for an option: "--verbose" for "-v,--verbose".
std::string longName(const OptionRow &option)
{
    return namesOf(option).back();
}

void describeOptions(std::string &page, const CommandTable &table, const Place &place)
{
    for (const OptionRow *option : shownOptions(table, place)) {
        page += ".TP\n";
        page += (option->isArgument() ? "\\fI" : "\\fB") + troff(option->name) + "\\fR";
        if (!option->isArgument() && option->takesValue())
            page += " \\fI" + troff(option->type) + "\\fR";
        page += "\n" + troff(option->help) + ".";
        if (option->initial != nullptr)
            page += " Default: " + troff(option->initial) + ".";
        if (option->environment != nullptr)
            page += " Environment: " + troff(option->environment) + ".";
        page += "\n";
    }
}

void describePlace(std::string &page, const CommandTable &table, const Place &place)
{
    page += ".SS swctl " + troff(place.path()) + "\n" + troff(descriptionOf(table, place)) + ".\n";
    if (place.command == nullptr)
        return;
    describeOptions(page, table, place);
    page += ".PP\n.nf\nExamples:\n" + troff(place.command->examples) + "\n.fi\n";
}

// The words that may follow a place: its own commands and options, and the global options.
std::string wordsAfter(const CommandTable &table, const Place &place)
{
    std::string words;
    const auto add = [&words](const std::string &word) {
        (words += words.empty() ? "" : " ") += word;
    };
    for (const Place &next : placesAfter(table, place))
        add(next.name());
    for (const OptionRow *option : shownOptions(table, place))
        if (!option->isArgument())
            add(longName(*option));
    if (!place.path().empty())
        for (const OptionRow *option : shownOptions(table, {}))
            if (option != &helpOption)
                add(longName(*option));
    return words;
}

// Completion of a value by its type: either a kind that `swctl --complete` lists, or fixed
// words.
struct ValueKind {
    const char *type;
    const char *kind;  // null for none
    const char *words; // null for none
};

constexpr ValueKind valueKinds[] = {
    {"ID", "vlans", nullptr},
    {"RANGES", "vlans", nullptr},
    {"SWITCH", "switches", nullptr},
    {"INTERFACE", "interfaces", nullptr},
    {"LIST", "ports", nullptr},
    {"CHANGE", "changes", nullptr},
    {"LEVEL", nullptr, logRankList},
    {"TABLE", nullptr, "swGlobalCfg, swPortConfig, vlanEncapIf"},
    {"OPCODE", nullptr, "insert, update, delete"},
};

// For options and arguments whose name is more specific than their type.
constexpr ValueKind namedKinds[] = {
    {"--interface", "interfaces", nullptr},
    {"--interfaces", "interfaces", nullptr},
    {"--switch", "switches", nullptr},
    {"--port", "ports", nullptr},
    {"--untagged-on", "ports", nullptr},
    {"PORT", "ports", nullptr},
    {"port", nullptr, "port"},
    {"show", nullptr, "show"},
};

const ValueKind *kindOf(const Place &place, const OptionRow &option)
{
    static constexpr ValueKind switchNames = {"NAME", "switches", nullptr};
    const std::string name = option.name;
    const std::string command = place.name();
    // Something new has no existing number or name to complete.
    const bool made = command == "add" || command == "vlan-add";
    if ((made && option.isArgument() && name != "SWITCH") || name == "--id")
        return option.type == std::string("RANGES") ? &valueKinds[1] : nullptr;
    if (name == "NAME" && place.group != nullptr && place.group->name == std::string("switch"))
        return &switchNames;
    for (const ValueKind &kind : namedKinds)
        if (name == kind.type)
            return &kind;
    for (const ValueKind &kind : valueKinds)
        if (option.type == std::string(kind.type))
            return &kind;
    return nullptr;
}

std::string offeringWords(std::string words, char separator)
{
    std::replace(words.begin(), words.end(), separator, ' ');
    return "mapfile -t COMPREPLY < <(compgen -W '" + words + "' -- \"$current\"); return";
}

// The completion action for a value; empty if anything is allowed.
std::string valuesOf(const Place &place, const OptionRow &option)
{
    const std::string type = option.type;
    const ValueKind *kind = kindOf(place, option);
    if (kind != nullptr && kind->kind != nullptr)
        return std::string("_swctl_listed ") + kind->kind + " \"$1\" \"$current\"; return";
    if (kind != nullptr && kind->words != nullptr)
        return offeringWords(kind->words, ',');
    if (type == "RULE") {
        std::string rules;
        for (const Rule &rule : checkRules())
            rules += std::string(rules.empty() ? "" : ",") + rule.id;
        return offeringWords(rules, ',');
    }
    if (type.find('|') != std::string::npos)
        return offeringWords(type, '|');
    const char *generator = type == "FILE" || type == "PATH" ? "-f"
                            : type == "DIR"                  ? "-d"
                                                             : nullptr;
    if (generator == nullptr)
        return "";
    return std::string("mapfile -t COMPREPLY < <(compgen ") + generator +
           " -- \"$current\"); return";
}

std::string commandCases(const CommandTable &table)
{
    std::string cases = "    '') words='" + wordsAfter(table, {}) + "' ;;\n";
    for (const Place &place : allPlaces(table))
        cases += "    '" + place.path() + "') words='" + wordsAfter(table, place) + "' ;;\n";
    return cases;
}

std::string placePattern(const CommandTable &table)
{
    std::string pattern;
    for (const Place &place : allPlaces(table))
        pattern += (pattern.empty() ? "'" : "|'") + place.path() + "'";
    return pattern;
}

std::vector<const OptionRow *> optionsWithValue(const CommandTable &table, const Place &place)
{
    std::vector<const OptionRow *> options = shownOptions(table, place);
    std::erase_if(options, [](const OptionRow *option) {
        return option->isArgument() || !option->takesValue();
    });
    return options;
}

// A case for each option with a value: the command, and the option before the word.
std::string valueCases(const CommandTable &table, const Place &place, const std::string &pattern)
{
    std::string cases;
    for (const OptionRow *option : optionsWithValue(table, place)) {
        const std::string values = valuesOf(place, *option);
        cases += "    " + pattern + " " + longName(*option) + "') " +
                 (values.empty() ? "return" : values) + " ;;\n";
    }
    return cases;
}

// A case for each argument that can be completed: the command, and the number of preceding
// arguments.
std::string argumentCases(const CommandTable &table, const Place &place)
{
    std::string cases;
    int before = 0;
    for (const OptionRow *option : shownOptions(table, place)) {
        if (!option->isArgument())
            continue;
        const std::string values = valuesOf(place, *option);
        if (!values.empty())
            cases += "        '" + place.path() + " " + std::to_string(before) + "') " + values +
                     " ;;\n";
        ++before;
    }
    return cases;
}

struct Cases {
    std::string values, arguments;
    std::string takers; // options with a value, as a pattern
};

Cases allCases(const CommandTable &table)
{
    Cases cases{valueCases(table, {}, "*'"), "", ""};
    std::set<std::string> takers;
    const auto take = [&](const Place &place) {
        for (const OptionRow *option : optionsWithValue(table, place))
            takers.insert(longName(*option));
    };
    take({});
    for (const Place &place : allPlaces(table)) {
        cases.values += valueCases(table, place, "'" + place.path());
        cases.arguments += argumentCases(table, place);
        take(place);
    }
    for (const std::string &taker : takers)
        cases.takers += (cases.takers.empty() ? "" : "|") + taker;
    return cases;
}

} // namespace

std::string manualPage(const CommandTable &table)
{
    std::string page = ".TH SWCTL 1 \"\" \"swctl " SWMGR_VERSION "\" \"User Commands\"\n";
    page += ".SH NAME\nswctl \\- command\\-line client of the switch manager\n";
    page += ".SH SYNOPSIS\n.B swctl\n[\\fIOPTION\\fR...] \\fICOMMAND\\fR [\\fIARGUMENT\\fR...]\n";
    page += ".SH DESCRIPTION\n" + troff(table.description) +
            "\nA change is written to the database, announced to the service and verified by "
            "reading\nchip and kernel. If the service refuses it, the rows are restored; if it "
            "cannot be reached,\nadded and changed rows stay, and its next startup applies them.\n";
    page += ".SH OPTIONS\nThese may appear anywhere on the command line.\n";
    describeOptions(page, table, {});
    page += ".SH COMMANDS\n";
    for (const Place &place : allPlaces(table))
        describePlace(page, table, place);
    page += ".SH EXIT STATUS\n.nf\n" + troff(table.exitStatuses) + ".fi\n";
    page += ".SH ENVIRONMENT\n.TP\n.B NO_COLOR\nWhen set, no colour is used on a terminal.\n";
    page += ".SH SEE ALSO\n.BR swmgrd (8)\n";
    return page;
}

std::string bashCompletion(const CommandTable &table)
{
    const Cases cases = allCases(table);
    return "# Completion of swctl for bash, generated from its commands.\n"
           "\n"
           "# Names from the database are read line by line, so that nothing in them is expanded.\n"
           "_swctl_listed()\n{\n"
           "    local kind=$1 program=$2 current=$3 word place\n"
           "    local -a where=()\n"
           "    for ((place = 1; place < COMP_CWORD; ++place)); do\n"
           "        case ${COMP_WORDS[place]} in\n"
           "        --database|--site) where+=(\"${COMP_WORDS[place]}\" "
           "\"${COMP_WORDS[place+1]}\") ;;\n"
           "        esac\n"
           "    done\n"
           "    COMPREPLY=()\n"
           "    while IFS= read -r word; do\n"
           "        [[ $word != \"$current\"* ]] || COMPREPLY+=(\"$word\")\n"
           "    done < <(\"$program\" \"${where[@]}\" --complete \"$kind\" 2>/dev/null)\n"
           "}\n"
           "\n"
           "_swctl()\n{\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
           "    local path='' words='' word next skip='' count=0\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        if [ -n \"$skip\" ]; then skip=''; continue; fi\n"
           "        case $word in\n"
           "        " +
           cases.takers +
           ") skip=yes; continue ;;\n"
           "        -*) continue ;;\n"
           "        esac\n"
           "        next=${path:+$path }$word\n"
           "        case $next in\n"
           "        " +
           placePattern(table) +
           ") path=$next count=0 ;;\n"
           "        *) count=$((count + 1)) ;;\n"
           "        esac\n"
           "    done\n"
           "    case \"$path $previous\" in\n" +
           cases.values +
           "    esac\n"
           "    if [[ $current != -* ]]; then\n"
           "        case \"$path $count\" in\n" +
           cases.arguments +
           "        esac\n"
           "    fi\n"
           "    case $path in\n" +
           commandCases(table) +
           "    esac\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "}\n"
           "complete -F _swctl swctl\n";
}

} // namespace swctl
