// The commands that take or give a whole configuration: export, apply, batch.
#include "client/base/failure.h"
#include "client/base/file.h"
#include "client/base/text.h"
#include "client/plan/configuration_file.h"
#include "swctl/cli_change.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace swctl {
namespace {

constexpr size_t mostInput = 64 * 1024 * 1024; // bytes
constexpr const char *inputName = "standard input";

struct FileArguments {
    std::string file = "-"; // standard input or output
    ChangeFlags flags;
};

// Everything up to the end; of a pipe as well.
std::string contentsOf(FILE *stream, const std::string &name)
{
    std::string text;
    char block[65536];
    for (size_t length = 0; (length = fread(block, 1, sizeof(block), stream)) > 0;) {
        text.append(block, length);
        if (text.size() > mostInput)
            throw Failure(exitUsage, printable(name) + ": it is too long");
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

int runExport(const Globals &globals, const std::string &file)
{
    Database database(globals.database, Access::read);
    const std::string text = configurationJson(database).dump(2, ' ', /*ensure_ascii=*/true,
                                                              Json::error_handler_t::replace) +
                             "\n";
    if (file == "-")
        fputs(text.c_str(), stdout);
    else
        replaceFile(file, text);
    return exitDone;
}

int runApply(const Program &program, const FileArguments &arguments)
{
    const bool isInput = arguments.file == "-";
    const std::string name = isInput ? inputName : arguments.file;
    const std::string text = isInput ? contentsOf(stdin, name) : contentsOf(name);
    return change(program, arguments.flags, fileWishOf(text, name));
}

// The words of a line: blanks part them, quotes keep them together.
std::vector<std::string> wordsOf(const std::string &line)
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
        throw Failure(exitUsage, "a quote is not closed");
    return words;
}

// One line as a command line of its own, whose wish goes into `wishes`.
void takeLine(const Globals &globals, std::vector<std::string> words, std::vector<RowWish> &wishes)
{
    if (words.front() == "swctl")
        words.erase(words.begin());
    if (words.size() < 2 || words[0] == "batch")
        throw Failure(exitUsage, "it is no command that changes the configuration");
    const bool isChange = words[1] == "add" || words[1] == "set" || words[1] == "delete";
    const size_t before = wishes.size();
    Program line;
    line.words = words;
    line.globals = globals;
    line.batch = &wishes;
    line.app.require_subcommand(1);
    addConfigurationCommands(line);
    try {
        std::reverse(words.begin(), words.end()); // as the parser takes them
        line.app.parse(words);
    } catch (const CLI::ParseError &error) {
        throw Failure(exitUsage, printable(error.what()));
    }
    if (isChange)
        static_cast<void>(line.run());
    if (wishes.size() == before)
        throw Failure(exitUsage, "it is no command that changes the configuration");
}

int runBatch(const Program &program, const FileArguments &arguments)
{
    std::vector<RowWish> wishes;
    const std::string text = contentsOf(stdin, inputName);
    size_t number = 0;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        ++number;
        try {
            const std::vector<std::string> words = wordsOf(text.substr(start, end - start));
            if (!words.empty())
                takeLine(program.globals, words, wishes);
        } catch (const Failure &failure) {
            throw Failure(failure.status, "standard input, line " + std::to_string(number) + ": " +
                                              failure.what() + "; nothing was changed");
        }
        start = end + 1;
    }
    const std::string what =
        std::to_string(wishes.size()) + (wishes.size() == 1 ? " command" : " commands");
    return change(program, arguments.flags, BatchWish{what, std::move(wishes)});
}

} // namespace

void addFileCommands(Program &program)
{
    const auto arguments = std::make_shared<FileArguments>();
    CLI::App *exported = addCommand(
        program, program.app, "export",
        "Write the whole configuration as JSON, made to be kept and reviewed",
        "  swctl export\n  swctl export gateway.json",
        [&program, arguments] { return runExport(program.globals, arguments->file); });
    CLI::App *applied = addCommand(
        program, program.app, "apply",
        "Make the configuration what a file says, with the smallest change of rows; all of it "
        "or nothing",
        "  swctl apply gateway.json --dry-run\n  swctl apply gateway.json --confirm 120\n"
        "  swctl export | ssh other swctl apply -",
        [&program, arguments] { return runApply(program, *arguments); });
    CLI::App *batch = addCommand(
        program, program.app, "batch",
        "Carry out the commands on standard input, one a line (vlan, port and switch with add, "
        "set and delete), together: all of them or none",
        "  printf 'vlan add 30 --interface eth0 --ports 1\\nvlan delete 20\\n' | swctl batch",
        [&program, arguments] { return runBatch(program, *arguments); });
    if (program.mayRun("export"))
        exported->add_option("FILE", arguments->file, "File to write, - for standard output")
            ->capture_default_str();
    if (program.mayRun("apply")) {
        applied->add_option("FILE", arguments->file, "File to read, - for standard input")
            ->required();
        addChangeFlags(*applied, arguments->flags);
    }
    if (program.mayRun("batch"))
        addChangeFlags(*batch, arguments->flags);
}

} // namespace swctl
