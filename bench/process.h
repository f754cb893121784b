// Shared by the benchmarks of whole processes.
#pragma once

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace bench {

using Words = std::vector<std::string>;

// Starts a program found in the path, without input or output.
inline pid_t start(const Words &words, const Words &environment)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    for (const std::string &entry : environment)
        putenv(strdup(entry.c_str()));
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, STDIN_FILENO);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    std::vector<char *> arguments;
    for (const std::string &word : words)
        arguments.push_back(strdup(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

inline void stop(pid_t process)
{
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);
}

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

inline double milliseconds(const std::function<void()> &body)
{
    const auto begin = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

} // namespace bench
