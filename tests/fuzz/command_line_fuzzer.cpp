// How the stand-in parses command lines. Nothing is run: the call that would start a
// command is replaced by one that checks what it gets.
#include "input.h"

#include "platform/sal.h"

#include <cerrno>
#include <spawn.h>

namespace {

using namespace fuzz;

constexpr const char *blanks = " \t";

// Every character that means something to a shell anywhere in a line.
constexpr const char *shellCharacters = "|&;<>()$`\\\"'*?[]#~!{}^\n\r\v\f";

std::string currentLine;
int spawned = 0;     // commands started for the line
int spawnResult = 0; // result of the first attempt to start

std::vector<std::string> wordsOf(const std::string &line)
{
    std::vector<std::string> words;
    for (size_t at = line.find_first_not_of(blanks); at != std::string::npos;) {
        const size_t end = std::min(line.find_first_of(blanks, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = line.find_first_not_of(blanks, end);
    }
    return words;
}

void startCheck(char *const words[])
{
    std::vector<std::string> given;
    for (size_t w = 0; words[w] != nullptr; ++w)
        given.emplace_back(words[w]);
    if (given.size() == 3 && given[0] == "/bin/sh" && given[1] == "-c" && given[2] == currentLine)
        return;
    require(spawned == 0, "a second attempt is the shell's");
    require(currentLine.find_first_of(shellCharacters) == std::string::npos,
            "what means something to a shell goes to the shell");
    require(given == wordsOf(currentLine), "a plain line is split at its blanks");
    require(given[0].find('=') == std::string::npos, "a variable is set by the shell");
}

} // namespace

extern "C" int __wrap_posix_spawnp(pid_t *, const char *, const posix_spawn_file_actions_t *,
                                   const posix_spawnattr_t *, char *const words[], char *const *);

extern "C" int __wrap_posix_spawnp(pid_t *, const char *, const posix_spawn_file_actions_t *,
                                   const posix_spawnattr_t *, char *const words[], char *const *)
{
    startCheck(words);
    return spawned++ == 0 ? spawnResult : ENOMEM;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    constexpr int results[] = {ENOENT, ENOEXEC, EACCES};
    Input input(bytes, size);
    spawned = 0;
    spawnResult = input.pick(results);
    currentLine = input.rest().c_str();
    const Block block(currentLine + '\0');
    const int status = salCmdExec(block.data(), 0, 0);
    const bool blank =
        wordsOf(currentLine).empty() && currentLine.find_first_not_of(blanks) == std::string::npos;
    require(spawned != 0 || (blank && status == 0), "a line that is not blank is started");
    require(spawned == 0 || status < 0, "a command that did not start is reported");
    return 0;
}
