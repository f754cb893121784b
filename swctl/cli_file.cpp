// The commands for whole configurations and batches: export, apply, batch.
#include "swctl/cli_file.h"
#include "client/base/failure.h"
#include "client/base/file.h"
#include "client/base/text.h"
#include "client/plan/configuration_file.h"
#include "client/rows/row_text.h"
#include "common/json.h"
#include "swctl/cli_change.h"
#include "swctl/cli_configuration.h"
#include "swctl/commands.h"
#include "swctl/parser.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace swctl {
namespace {

constexpr size_t mostInput = 64 * 1024 * 1024; // bytes
constexpr const char *inputName = "standard input";

// Reads to the end of the file or pipe.
std::string contentsOf(FILE *stream, const std::string &name)
{
    std::string text;
    char block[65536];
    for (size_t length = 0; (length = fread(block, 1, sizeof(block), stream)) > 0;) {
        text.append(block, length);
        if (text.size() > mostInput)
            throw Failure(exitUsage, printable(name) + ": the file is too long");
    }
    if (ferror(stream) != 0)
        throw Failure(exitUsage, printable(name) + ": " + strerror(errno));
    return text;
}

std::string contentsOf(const std::string &path)
{
    const std::unique_ptr<FILE, int (*)(FILE *)> file(fopen(path.c_str(), "re"), fclose);
    if (file == nullptr)
        throw Failure(exitUsage, printable(path) + ": " + strerror(errno));
    return contentsOf(file.get(), path);
}

int runExport(const Call &call)
{
    const std::string &file = call.text("FILE");
    Database database(call.globals.database, Access::read);
    const std::string text = configurationJson(database).lines();
    if (file == "-")
        fputs(text.c_str(), stdout);
    else
        replaceFile(file, text);
    return exitDone;
}

// The configuration in the file, or on standard input.
FileWish wishFrom(const Call &call)
{
    const bool isInput = call.text("FILE") == "-";
    const std::string name = isInput ? inputName : call.text("FILE");
    const std::string text = isInput ? contentsOf(stdin, name) : contentsOf(name);
    return fileWishOf(text, name);
}

int runApply(const Call &call)
{
    return change(call, wishFrom(call));
}

// Splits a line at blanks; quotes keep words together.
std::vector<std::string> quotedWordsOf(const std::string &line)
{
    std::vector<std::string> words;
    bool inWord = false;
    char quote = '\0';
    for (const char c : line) {
        if (quote == '\0' && c == '#' && !inWord)
            break;
        if (quote == '\0' && (c == ' ' || c == '\t' || c == '\r')) {
            inWord = false;
            continue;
        }
        if (!inWord)
            words.emplace_back();
        inWord = true;
        if (quote == '\0' && (c == '"' || c == '\''))
            quote = c;
        else if (c == quote)
            quote = '\0';
        else
            words.back() += c;
    }
    if (quote != '\0')
        throw Failure(exitUsage, "unterminated quote");
    return words;
}

// Parses a line as a command line.
std::vector<RowWish> wishesOf(std::vector<std::string> words)
{
    if (words.front() == "swctl")
        words.erase(words.begin());
    const auto isAsked = [&](const CommandRow *row) {
        return words.size() > 1 && words[0] == row->group && words[1] == row->name;
    };
    if (std::any_of(changeTable.commands.begin(), changeTable.commands.end(), isAsked)) {
        const Parsed line = parse(changeTable, words);
        if (line.asked == Asked::command) {
            refuseChangeFlags(line.call);
            return rowWishesOf(line.call);
        }
    }
    throw Failure(exitUsage, "this is not a command that changes the configuration");
}

int runBatch(const Call &call)
{
    std::vector<RowWish> wishes;
    size_t count = 0;
    const std::string text = contentsOf(stdin, inputName);
    size_t number = 0;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        start = end + 1;
        ++number;
        try {
            const std::vector<std::string> words = quotedWordsOf(line);
            if (words.empty())
                continue;
            for (RowWish &wish : wishesOf(words))
                wishes.push_back(std::move(wish));
            ++count;
        } catch (const Failure &failure) {
            throw Failure(failure.status, "standard input, line " + std::to_string(number) + ": " +
                                              failure.what() + "; nothing was changed");
        }
    }
    const std::string what = std::to_string(count) + (count == 1 ? " command" : " commands");
    return change(call, BatchWish{what, std::move(wishes), "done"});
}

constexpr OptionRow outputFile[] = {
    {.name = "FILE",
     .type = "FILE",
     .help = "File to write, - for standard output",
     .initial = "-"},
};
constexpr OptionRow inputFile[] = {
    {.name = "FILE",
     .type = "FILE",
     .help = "File to read, - for standard input",
     .required = true},
};

} // namespace

int diffWithFile(const Call &call)
{
    const FileWish wish = wishFrom(call);
    Database database(call.globals.database, Access::read);
    const Transaction transaction(database, Access::read);
    const ChangeSet changes = planFile(database, wish);
    std::vector<std::string> lines;
    for (const RowChange &change : changes.rows)
        lines.push_back(changeText(change));
    if (call.globals.json)
        printJson({{"outcome", lines.empty() ? "equal" : "different"}, {"changes", lines}});
    for (const std::string &line : lines)
        if (!call.globals.json)
            printLines(stdout, printable(line));
    if (lines.empty() && !call.globals.json)
        puts("The rows match the file.");
    return lines.empty() ? exitDone : exitDiffers;
}

constexpr CommandRow commands::exportFile = {
    nullptr,
    "export",
    "Write the whole configuration as JSON, to be kept and reviewed",
    "  swctl export\n  swctl export gateway.json",
    runExport,
    {outputFile}};

constexpr CommandRow commands::apply = {
    nullptr,
    "apply",
    "Make the configuration match a file, with the smallest change of rows; all or nothing",
    "  swctl apply gateway.json --dry-run\n  swctl apply gateway.json --confirm 120\n"
    "  swctl export | ssh other swctl apply -",
    runApply,
    {inputFile, changeFlags}};

constexpr CommandRow commands::batch = {
    nullptr,
    "batch",
    "Carry out the commands on standard input, one per line (vlan, port and switch with add, set "
    "and delete), together: all or none",
    "  printf 'vlan add 30 --interface eth0 --ports 1\\nvlan delete 20\\n' | swctl batch",
    runBatch,
    {changeFlags}};

} // namespace swctl
