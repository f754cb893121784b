#include "client/base/program.h"

#include "common/descriptor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>

namespace swctl {

std::optional<std::string> outputOf(const std::vector<std::string> &words)
{
    constexpr size_t most = 64u << 20;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return std::nullopt;
    const Descriptor out(ends[0]);
    Descriptor in(ends[1]);
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str())); // NOLINT: the call changes none
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int failed =
        posix_spawnp(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
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
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
        continue;
    return status == 0 ? std::optional(text) : std::nullopt;
}

} // namespace swctl
