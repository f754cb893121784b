// Running programs for their output.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace swctl {

// How a program starts. Every other descriptor of this process closes on its own.
struct ProgramStart {
    std::vector<std::string> words;            // the first one is its name
    std::vector<std::pair<int, int>> passed{}; // a descriptor of ours, and its number there
    std::vector<int> silenced{};               // connected to /dev/null
    bool ownSession = false;                   // it outlives this one's terminal
};

// Runs the program in `file`, which is looked up in the path if it has no slash; no shell
// reads the words. Returns 0 or the reason as an errno value.
[[nodiscard]] int startProgram(const std::string &file, const ProgramStart &start, pid_t &pid);

// Waits for its end; the status as waitpid gives it, or -1 with errno.
int endOfProgram(pid_t pid);

// The standard output of a program; nullopt if it cannot be run, fails, or prints more than 64
// MB. The first word is a path, or a name to look up in PATH; no shell is involved.
std::optional<std::string> outputOf(const std::vector<std::string> &words);

} // namespace swctl
