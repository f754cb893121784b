// The manual page and the bash completion, made from the application's own
// commands and options, so that neither can say anything else.
#include "swctl/cli.h"

#include <algorithm>
#include <functional>

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

// The action that offers what may stand as the value of an option.
std::string valuesOf(std::string type)
{
    std::string generator;
    if (type == "FILE" || type == "PATH")
        generator = "-f";
    else if (type == "DIR")
        generator = "-d";
    else if (type.find('|') != std::string::npos) {
        std::replace(type.begin(), type.end(), '|', ' ');
        generator = "-W '" + type + "'";
    } else
        return "return";
    return "mapfile -t COMPREPLY < <(compgen " + generator + " -- \"$current\"); return";
}

std::string commandCases(const CLI::App &app)
{
    std::string cases = "    '') words='" + wordsAfter(&app) + "' ;;\n";
    forEachCommand(&app, [&](AppPtr command) {
        const std::string path = fullName(command).substr(app.get_name().size() + 1);
        cases += "    '" + path + "') words='" + wordsAfter(command) + "' ;;\n";
    });
    return cases;
}

std::string groupPattern(const CLI::App &app)
{
    std::string pattern;
    forEachCommand(&app, [&](AppPtr command) {
        pattern += (pattern.empty() ? "'" : "|'") +
                   fullName(command).substr(app.get_name().size() + 1) + "'";
    });
    return pattern;
}

// One case for each option with a value: the command and the option before it.
std::string valueCases(AppPtr level, const std::string &pattern)
{
    std::string cases;
    for (const CLI::Option *option : shownOptions(level))
        for (const std::string &name : option->get_lnames())
            if (takesValue(*option))
                cases.append("    ")
                    .append(pattern)
                    .append(" --")
                    .append(name)
                    .append("') ")
                    .append(valuesOf(option->get_type_name()))
                    .append(" ;;\n");
    return cases;
}

std::string allValueCases(const CLI::App &app)
{
    std::string cases = valueCases(&app, "*'");
    forEachCommand(&app, [&](AppPtr command) {
        cases += valueCases(command, "'" + fullName(command).substr(app.get_name().size() + 1));
    });
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
    return "# Completion of swctl for bash, generated from its commands.\n"
           "_swctl()\n{\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
           "    local path='' words='' word next\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        next=${path:+$path }$word\n"
           "        case $next in\n"
           "        " +
           groupPattern(app) +
           ") path=$next ;;\n"
           "        esac\n"
           "    done\n"
           "    case \"$path $previous\" in\n" +
           allValueCases(app) +
           "    esac\n"
           "    case $path in\n" +
           commandCases(app) +
           "    esac\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "}\n"
           "complete -F _swctl swctl\n";
}

} // namespace swctl
