#include "client/base/program.h"

#include "common/descriptor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>

namespace swctl {

int startProgram(const std::string &file, const ProgramStart &start, pid_t &pid)
{
    std::vector<char *> words;
    words.reserve(start.words.size() + 1);
    for (const std::string &word : start.words)
        words.push_back(const_cast<char *>(word.c_str())); // NOLINT: the call changes none
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    for (const int fd : start.silenced)
        posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
    for (const auto &[ours, theirs] : start.passed)
        posix_spawn_file_actions_adddup2(&actions, ours, theirs);
    if (start.ownSession)
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    const int status =
        posix_spawnp(&pid, file.c_str(), &actions, &attributes, words.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return status;
}

int endOfProgram(pid_t pid)
{
    int status = 0;
    while (waitpid(pid, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return status;
}

std::optional<std::string> outputOf(const std::vector<std::string> &words)
{
    constexpr size_t most = 64u << 20;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return std::nullopt;
    const Descriptor out(ends[0]);
    Descriptor in(ends[1]);
    pid_t pid = 0;
    const int failed = startProgram(
        words.front(),
        {.words = words, .passed = {{in.get(), STDOUT_FILENO}}, .silenced = {STDERR_FILENO}}, pid);
    in = Descriptor();
    if (failed != 0)
        return std::nullopt;
    std::string text;
    char piece[4096];
    ssize_t length = 0;
    while (text.size() < most && (length = read(out.get(), piece, sizeof(piece))) > 0)
        text.append(piece, static_cast<size_t>(length));
    if (length > 0)
        kill(pid, SIGKILL);
    return endOfProgram(pid) == 0 ? std::optional(text) : std::nullopt;
}

} // namespace swctl
