// The only unit that uses the parser library, which is slow to compile. Options are registered
// only for the commands that are named, because registering all of them would take a
// considerable part of the time of a change.
#include "swctl/parser.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "swctl/usage.h"

// Paths are not checked here.
#define CLI11_HAS_FILESYSTEM 0
#include <CLI/CLI.hpp>
#include <algorithm>

namespace swctl {
namespace {

class Parser {
public:
    explicit Parser(const CommandTable &commandTable) : table(commandTable)
    {
        app.set_help_flag(helpOption.name);
        app.fallthrough();
        app.require_subcommand(0, 1);
        for (const OptionRow &option : table.options)
            addOption(app, option);
        for (const Place &place : placesAfter(table, {}))
            addPlace(app, place);
    }

    Parsed parse(std::vector<std::string> words)
    {
        Parsed parsed;
        try {
            std::reverse(words.begin(), words.end()); // the order that the library expects
            app.parse(std::move(words));
        } catch (const CLI::CallForHelp &) {
            parsed.asked = Asked::help;
        } catch (const StandsAlone &) {
            parsed.asked = Asked::option;
            reached = {};
        }
        if (parsed.asked == Asked::command && reached.command == nullptr)
            throw Failure(exitUsage, "A subcommand is required");
        parsed.place = reached;
        parsed.call = Call(table, reached);
        for (Given &one : given)
            parsed.call.take(*one.option, std::move(one.values));
        return parsed;
    }

private:
    struct Given {
        const OptionRow *option;
        std::vector<std::string> values;
    };

    struct StandsAlone {};

    void addPlace(CLI::App &parent, const Place &place)
    {
        CLI::App *at = parent.add_subcommand(place.name());
        at->preparse_callback([this, at, place](size_t) { enter(*at, place); });
    }

    // Called when the word of a place has been read.
    void enter(CLI::App &at, const Place &place)
    {
        reached = place;
        for (const Place &next : placesAfter(table, place))
            addPlace(at, next);
        if (place.command == nullptr)
            at.require_subcommand(1);
        for (const OptionRow *option : optionsAt(table, place))
            if (option != &helpOption)
                addOption(at, *option);
    }

    void addOption(CLI::App &at, const OptionRow &row)
    {
        const auto take = [this, &row](const CLI::results_t &values) {
            given.push_back({&row, values});
            if (row.alone)
                throw StandsAlone();
            return true;
        };
        if (row.takesValue())
            setUp(*at.add_option(row.name, CLI::callback_t(take)), row);
        else
            at.add_flag_function(row.name, [take](int64_t) {
                  take({"1"});
              })->disable_flag_override();
    }

    static void setUp(CLI::Option &option, const OptionRow &row)
    {
        option.type_name(row.type);
        option.required(row.required);
        if (row.environment != nullptr)
            option.envname(row.environment);
        if (row.listOf != 0)
            option.expected(1, row.listOf)->delimiter(',')->allow_extra_args();
        if (row.repeats)
            option.take_all();
        if (row.check != nullptr)
            option.transform(CLI::Validator([&row](std::string &text) { return fault(row, text); },
                                            std::string()));
    }

    // Normalises the text; returns what is wrong with it, or an empty string.
    static std::string fault(const OptionRow &row, std::string &text)
    {
        try {
            text = row.check(text);
            return {};
        } catch (const Failure &failure) {
            return failure.what();
        }
    }

    const CommandTable &table;
    CLI::App app;
    Place reached;
    std::vector<Given> given; // in the order of the words
};

} // namespace

Parsed parse(const CommandTable &table, const std::vector<std::string> &words)
{
    try {
        return Parser(table).parse(words);
    } catch (const CLI::ParseError &error) {
        const std::optional<std::string> unknown = unknownWord(table, words);
        throw Failure(exitUsage, unknown ? *unknown : printable(error.what()));
    }
}

} // namespace swctl
