// The manual page and the bash completion, made from the application's own
// commands and options, so that neither can say anything else.
#include "client/check/check.h"
#include "common/log_rank.h"
#include "swctl/cli.h"

#include <algorithm>
#include <functional>
#include <set>

namespace swctl {
namespace {

using AppPtr = const CLI::App *;

// Text as troff takes it: backslashes, hyphens and leading dots mean something.
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

bool takesValue(const CLI::Option &option)
{
    return option.get_expected_max() > 0 && !option.get_type_name().empty();
}

std::vector<const CLI::Option *> shownOptions(AppPtr app)
{
    std::vector<const CLI::Option *> options;
    for (const CLI::Option *option : app->get_options())
        if (!option->get_group().empty())
            options.push_back(option);
    return options;
}

std::string fullName(AppPtr app)
{
    return app->get_parent() == nullptr ? app->get_name()
                                        : fullName(app->get_parent()) + " " + app->get_name();
}

void forEachCommand(AppPtr app, const std::function<void(AppPtr)> &visit)
{
    for (AppPtr command : app->get_subcommands({})) {
        visit(command);
        forEachCommand(command, visit);
    }
}

void describeOptions(std::string &page, AppPtr app)
{
    for (const CLI::Option *option : shownOptions(app)) {
        const bool argument = option->get_positional();
        page += ".TP\n";
        page += argument ? "\\fI" + troff(option->get_name()) + "\\fR"
                         : "\\fB" + troff(option->get_name(false, true)) + "\\fR";
        if (!argument && takesValue(*option))
            page += " \\fI" + troff(option->get_type_name()) + "\\fR";
        page += "\n" + troff(option->get_description()) + ".";
        if (!option->get_default_str().empty())
            page += " Default: " + troff(option->get_default_str()) + ".";
        if (!option->get_envname().empty())
            page += " Environment: " + troff(option->get_envname()) + ".";
        page += "\n";
    }
}

void describeCommand(std::string &page, AppPtr command)
{
    const bool group = !command->get_subcommands({}).empty();
    page += ".SS " + troff(fullName(command)) + "\n" + troff(command->get_description()) + ".\n";
    if (group)
        return;
    describeOptions(page, command);
    if (!command->get_footer().empty())
        page += ".PP\n.nf\n" + troff(command->get_footer()) + "\n.fi\n";
}

// The words that may follow a command: its own commands and options, and the
// options of the commands around it, which are taken there as well.
std::string wordsAfter(AppPtr app)
{
    std::string words;
    for (AppPtr command : app->get_subcommands({}))
        words += command->get_name() + " ";
    for (AppPtr level = app; level != nullptr; level = level->get_parent())
        for (const CLI::Option *option : shownOptions(level)) {
            const bool repeated = level != app && option->get_name(false, true) == "-h,--help";
            for (const std::string &name : option->get_lnames())
                if (!repeated)
                    words += "--" + name + " ";
        }
    words.pop_back();
    return words;
}

// What may stand as the value of an option or argument, by its type: a kind that
// `swctl --complete` lists, or words.
struct ValueKind {
    const char *type;
    const char *kind;  // null: none
    const char *words; // null: none
};

constexpr ValueKind valueKinds[] = {
    {"ID", "vlans", nullptr},
    {"RANGES", "vlans", nullptr},
    {"SWITCH", "switches", nullptr},
    {"INTERFACE", "interfaces", nullptr},
    {"LIST", "ports", nullptr},
    {"LEVEL", nullptr, logRankList},
    {"TABLE", nullptr, "swGlobalCfg, swPortConfig, vlanEncapIf"},
    {"OPCODE", nullptr, "insert, update, delete"},
};

// The same for options and arguments whose type says less than their name.
constexpr ValueKind namedKinds[] = {
    {"--interface", "interfaces", nullptr},
    {"--interfaces", "interfaces", nullptr},
    {"--switch", "switches", nullptr},
    {"--port", "ports", nullptr},
    {"--untagged-on", "ports", nullptr},
    {"PORT", "ports", nullptr},
    {"port", nullptr, "port"},
};

const ValueKind *kindOf(AppPtr command, const CLI::Option &option)
{
    static constexpr ValueKind switchNames = {"NAME", "switches", nullptr};
    const std::string name =
        option.get_positional() ? option.get_name() : option.get_name(false, true);
    // What is about to be made has no number or name yet.
    const bool made = command->get_name() == "add" || command->get_name() == "vlan-add";
    if ((made && option.get_positional() && name != "SWITCH") || name == "--id")
        return option.get_type_name() == "RANGES" ? &valueKinds[1] : nullptr;
    if (option.get_positional() && name == "NAME" && command->get_parent()->get_name() == "switch")
        return &switchNames;
    for (const ValueKind &kind : namedKinds)
        if (name == kind.type)
            return &kind;
    for (const ValueKind &kind : valueKinds)
        if (option.get_type_name() == kind.type)
            return &kind;
    return nullptr;
}

std::string offeringWords(std::string words, char separator)
{
    std::replace(words.begin(), words.end(), separator, ' ');
    return "mapfile -t COMPREPLY < <(compgen -W '" + words + "' -- \"$current\"); return";
}

// The action that offers what may stand as a value; empty when anything may.
std::string valuesOf(AppPtr command, const CLI::Option &option)
{
    const std::string type = option.get_type_name();
    const ValueKind *kind = kindOf(command, option);
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

std::string pathOf(const CLI::App &app, AppPtr command)
{
    return fullName(command).substr(app.get_name().size() + 1);
}

std::string commandCases(const CLI::App &app)
{
    std::string cases = "    '') words='" + wordsAfter(&app) + "' ;;\n";
    forEachCommand(&app, [&](AppPtr command) {
        cases += "    '" + pathOf(app, command) + "') words='" + wordsAfter(command) + "' ;;\n";
    });
    return cases;
}

std::string groupPattern(const CLI::App &app)
{
    std::string pattern;
    forEachCommand(&app, [&](AppPtr command) {
        pattern += (pattern.empty() ? "'" : "|'") + pathOf(app, command) + "'";
    });
    return pattern;
}

// One case for each option with a value: the command and the option before it.
std::string valueCases(AppPtr level, const std::string &pattern)
{
    std::string cases;
    for (const CLI::Option *option : shownOptions(level))
        for (const std::string &name : option->get_lnames()) {
            const std::string values = takesValue(*option) ? valuesOf(level, *option) : "";
            if (takesValue(*option))
                (((cases += "    ") += pattern) += " --") +=
                    name + "') " + (values.empty() ? "return" : values) + " ;;\n";
        }
    return cases;
}

// One case for each argument that has values to offer: the command and how many
// arguments stand before it.
std::string argumentCases(const std::string &path, AppPtr command)
{
    std::string cases;
    int before = 0;
    for (const CLI::Option *option : shownOptions(command)) {
        if (!option->get_positional())
            continue;
        const std::string values = valuesOf(command, *option);
        if (!values.empty())
            cases += "        '" + path + " " + std::to_string(before) + "') " + values + " ;;\n";
        ++before;
    }
    return cases;
}

struct Cases {
    std::string values, arguments;
    std::string takers; // the options with a value, as a pattern
};

Cases allCases(const CLI::App &app)
{
    Cases cases{valueCases(&app, "*'"), "", ""};
    std::set<std::string> takers;
    const auto take = [&](AppPtr level) {
        for (const CLI::Option *option : shownOptions(level))
            for (const std::string &name : option->get_lnames())
                if (takesValue(*option))
                    takers.insert("--" + name);
    };
    take(&app);
    forEachCommand(&app, [&](AppPtr command) {
        const std::string path = pathOf(app, command);
        cases.values += valueCases(command, "'" + path);
        cases.arguments += argumentCases(path, command);
        take(command);
    });
    for (const std::string &taker : takers)
        cases.takers += (cases.takers.empty() ? "" : "|") + taker;
    return cases;
}

} // namespace

std::string manualPage(const CLI::App &app)
{
    std::string page = ".TH SWCTL 1 \"\" \"swctl " SWMGR_VERSION "\" \"User Commands\"\n";
    page += ".SH NAME\nswctl \\- command\\-line client of the switch manager\n";
    page += ".SH SYNOPSIS\n.B swctl\n[\\fIOPTION\\fR...] \\fICOMMAND\\fR [\\fIARGUMENT\\fR...]\n";
    page += ".SH DESCRIPTION\n" + troff(app.get_description()) +
            "\nA change is written to the database, and the service is told of it. When the "
            "service\nrefuses it or cannot be reached, the row is put back as it was.\n";
    page += ".SH OPTIONS\nThese may stand anywhere on the command line.\n";
    describeOptions(page, &app);
    page += ".SH COMMANDS\n";
    forEachCommand(&app, [&](AppPtr command) { describeCommand(page, command); });
    const std::string footer = app.get_footer();
    page += ".SH EXIT STATUS\n.nf\n" + troff(footer.substr(footer.find('\n') + 1)) + ".fi\n";
    page += ".SH ENVIRONMENT\n.TP\n.B NO_COLOR\nWhen set, no colour is used on a terminal.\n";
    page += ".SH SEE ALSO\n.BR swmgrd (8)\n";
    return page;
}

std::string bashCompletion(const CLI::App &app)
{
    const Cases cases = allCases(app);
    return "# Completion of swctl for bash, generated from its commands.\n"
           "\n"
           "# What the database names, read line by line: nothing of it is expanded.\n"
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
           groupPattern(app) +
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
           commandCases(app) +
           "    esac\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "}\n"
           "complete -F _swctl swctl\n";
}

} // namespace swctl
