#include "swctl/usage.h"

#include "client/base/text.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace swctl {
namespace {

constexpr size_t columns = 80;
constexpr size_t textColumn = 32; // where descriptions of options and commands begin

// The indent for continuation lines: where the description begins if the line starts with a
// name or an option, otherwise where the line begins.
size_t hangingIndent(const std::string &line)
{
    const size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const size_t gap = line.find("  ", begin);
    const size_t text = gap == std::string::npos ? gap : line.find_first_not_of(' ', gap);
    return text > columns / 2 ? begin + 2 : text; // also when text is npos
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
        rest.replace(0, blank + 1, indent);
    }
    return out + rest;
}

std::string wrappedLines(const std::string &text)
{
    std::string out;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        out += wrapped(text.substr(start, end - start)) + '\n';
        start = end + 1;
    }
    return out;
}

std::string helpLine(const std::string &head, const char *text)
{
    std::string line = "  " + head;
    if (line.size() >= textColumn)
        line += '\n' + std::string(textColumn, ' ');
    else
        line.resize(textColumn, ' ');
    return line + text + '\n';
}

std::string optionLine(const OptionRow &option)
{
    std::string head = option.name;
    if (option.takesValue())
        (head += ' ') += option.type;
    if (option.initial != nullptr)
        (head += '=') += option.initial;
    if (option.required)
        head += " REQUIRED";
    if (option.environment != nullptr)
        ((head += " (Env:") += option.environment) += ')';
    return helpLine(head, option.help);
}

std::string usageLine(const Place &place, const std::vector<const OptionRow *> &options)
{
    std::string line = "Usage: swctl ";
    if (const std::string path = place.path(); !path.empty())
        line += path + ' ';
    line += "[OPTIONS]";
    for (const OptionRow *option : options)
        if (option->isArgument())
            line += option->required ? std::string(" ") + option->name
                                     : std::string(" [") + option->name + ']';
    if (place.command == nullptr)
        line += " SUBCOMMAND";
    return line + '\n';
}

// Lines under a heading, or nothing if there are none.
std::string section(const char *heading, const std::string &lines)
{
    return lines.empty() ? lines : std::string("\n") + heading + ":\n" + lines;
}

std::string suggestion(const std::string &word, const std::vector<std::string> &known)
{
    const std::string meant = nearest(word, known);
    return meant.empty() ? meant : "; did you mean '" + meant + "'?";
}

// The options known at a place: its own and those of the enclosing places.
std::vector<const OptionRow *> optionsKnownAt(const CommandTable &table, const Place &place)
{
    std::vector<const OptionRow *> options = optionsAt(table, place);
    if (!place.path().empty())
        for (const OptionRow *option : optionsAt(table, {}))
            if (option != &helpOption)
                options.push_back(option);
    return options;
}

const OptionRow *optionOf(const std::vector<const OptionRow *> &options, const std::string &name)
{
    for (const OptionRow *option : options)
        for (const std::string &known : namesOf(*option))
            if (known == name)
                return option;
    return nullptr;
}

std::vector<std::string> longNames(const std::vector<const OptionRow *> &options)
{
    std::vector<std::string> names;
    for (const OptionRow *option : options)
        if (!option->isArgument() && !option->isHidden())
            names.push_back(namesOf(*option).back());
    return names;
}

std::vector<std::string> namesOf(const std::vector<Place> &places)
{
    std::vector<std::string> names;
    names.reserve(places.size());
    for (const Place &place : places)
        names.emplace_back(place.name());
    return names;
}

} // namespace

std::string helpText(const CommandTable &table, const Place &place)
{
    const std::vector<const OptionRow *> options = optionsAt(table, place);
    std::string arguments, named, commands;
    for (const OptionRow *option : options)
        if (!option->isHidden())
            (option->isArgument() ? arguments : named) += optionLine(*option);
    for (const Place &next : placesAfter(table, place))
        commands += helpLine(next.name(), descriptionOf(table, next));
    const std::string ending =
        place.command != nullptr ? section("Examples", std::string(place.command->examples) + '\n')
                                 : section("Exit status", table.exitStatuses);
    return wrappedLines(std::string(descriptionOf(table, place)) + '\n' +
                        usageLine(place, options) + section("Positionals", arguments) +
                        section("Options", named) + section("Subcommands", commands) + ending);
}

std::optional<std::string> unknownWord(const CommandTable &table,
                                       const std::vector<std::string> &words)
{
    Place place;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string &word = words[i];
        if (word == "--")
            return std::nullopt;
        if (word.size() > 1 && word[0] == '-' && (word[1] < '0' || word[1] > '9')) {
            const std::string name = word.substr(0, word.find('='));
            const std::vector<const OptionRow *> known = optionsKnownAt(table, place);
            const OptionRow *option = optionOf(known, name);
            if (option == nullptr)
                return "there is no option '" + printable(name) + "'" +
                       suggestion(name, longNames(known));
            if (option->takesValue() && name.size() == word.size())
                ++i; // skip the option's value
            continue;
        }
        if (place.command != nullptr)
            continue;
        const std::vector<Place> places = placesAfter(table, place);
        const auto next = std::find_if(places.begin(), places.end(),
                                       [&](const Place &one) { return word == one.name(); });
        if (next == places.end())
            return "there is no command '" + printable(word) + "'" +
                   suggestion(word, namesOf(places));
        place = *next;
    }
    return std::nullopt;
}

} // namespace swctl
