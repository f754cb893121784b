#include "swctl/usage.h"

#include "client/base/text.h"

#include <algorithm>
#include <numeric>
#include <sstream>

namespace swctl {
namespace {

constexpr size_t columns = 80;

// Where the text of a line begins that has its name or option before it, else
// where the line itself begins: continued lines stand below.
size_t hangingIndent(const std::string &line)
{
    const size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const size_t gap = line.find("  ", begin);
    const size_t text = gap == std::string::npos ? gap : line.find_first_not_of(' ', gap);
    return text == std::string::npos || text > columns / 2 ? begin + 2 : text;
}

std::string wrapped(const std::string &line)
{
    std::string rest = line;
    std::string out;
    const std::string indent(hangingIndent(line), ' ');
    while (displayWidth(rest) > columns) {
        const size_t blank = rest.rfind(' ', columns);
        if (blank == std::string::npos || blank <= indent.size())
            break;
        out += rest.substr(0, blank) + '\n';
        rest = indent + rest.substr(blank + 1);
    }
    return out + rest;
}

// Insertions, removals and replacements between two words.
size_t distance(const std::string &a, const std::string &b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, replaced}));
        }
    }
    return row[b.size()];
}

std::string suggestion(const std::string &word, const std::vector<std::string> &known)
{
    const auto nearest = std::min_element(known.begin(), known.end(),
                                          [&](const std::string &a, const std::string &b) {
                                              return distance(word, a) < distance(word, b);
                                          });
    if (nearest == known.end() || distance(word, *nearest) > std::max<size_t>(2, word.size() / 3))
        return {};
    return "; did you mean '" + *nearest + "'?";
}

// An option of the command or of one around it.
const CLI::Option *optionOf(const CLI::App *command, const std::string &name)
{
    for (; command != nullptr; command = command->get_parent())
        for (const CLI::Option *option : command->get_options())
            if (option->check_name(name))
                return option;
    return nullptr;
}

std::vector<std::string> optionNames(const CLI::App *command)
{
    std::vector<std::string> names;
    for (; command != nullptr; command = command->get_parent())
        for (const CLI::Option *option : command->get_options())
            if (!option->get_positional() && !option->get_group().empty())
                for (const std::string &name : option->get_lnames())
                    names.push_back("--" + name);
    return names;
}

const CLI::App *commandOf(const CLI::App *group, const std::string &name)
{
    for (const CLI::App *command : group->get_subcommands({}))
        if (command->get_name() == name)
            return command;
    return nullptr;
}

std::vector<std::string> commandNames(const CLI::App *group)
{
    std::vector<std::string> names;
    for (const CLI::App *command : group->get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

} // namespace

std::string HelpFormatter::make_help(const CLI::App *app, std::string name,
                                     CLI::AppFormatMode mode) const
{
    std::istringstream lines(CLI::Formatter::make_help(app, std::move(name), mode));
    std::string help;
    for (std::string line; std::getline(lines, line);)
        help += wrapped(line) + '\n';
    return help;
}

std::optional<std::string> unknownWord(const CLI::App &app, const std::vector<std::string> &words)
{
    const CLI::App *command = &app;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string &word = words[i];
        if (word == "--")
            return std::nullopt;
        if (word.size() > 1 && word[0] == '-' && (word[1] < '0' || word[1] > '9')) {
            const std::string name = word.substr(0, word.find('='));
            const CLI::Option *option = optionOf(command, name);
            if (option == nullptr)
                return "there is no option '" + printable(name) + "'" +
                       suggestion(name, optionNames(command));
            if (option->get_expected_max() > 0 && name.size() == word.size())
                ++i; // its value
            continue;
        }
        if (command->get_subcommands({}).empty())
            continue;
        const CLI::App *next = commandOf(command, word);
        if (next == nullptr)
            return "there is no command '" + printable(word) + "'" +
                   suggestion(word, commandNames(command));
        command = next;
    }
    return std::nullopt;
}

} // namespace swctl
