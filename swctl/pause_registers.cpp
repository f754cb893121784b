// Runs the register tool and takes its answer apart; see the header.
#include "swctl/pause_registers.h"

#include "common/descriptor.h"
#include "swctl/site.h"
#include "swctl/state_file.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <string>
#include <vector>

namespace swctl {
namespace {

constexpr const char *registerTool = "/corefs/bin/memrw";

// What a program prints, up to a few lines; none when it fails.
std::optional<std::string> outputOf(const std::vector<std::string> &words)
{
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
    pid_t pid = 0;
    const int failed =
        posix_spawn(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    in = Descriptor();
    if (failed != 0)
        return std::nullopt;
    std::string text;
    char piece[256];
    ssize_t length = 0;
    while (text.size() < 4096 && (length = read(out.get(), piece, sizeof(piece))) > 0)
        text.append(piece, static_cast<size_t>(length));
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
        continue;
    return status == 0 ? std::optional(text) : std::nullopt;
}

} // namespace

std::string registerName(uint32_t address)
{
    char text[16];
    snprintf(text, sizeof(text), "0x%08x", address);
    return text;
}

PauseRegisters pauseRegistersOf(const engine::State &state)
{
    PauseRegisters values{};
    for (size_t i = 0; i < values.size(); ++i)
        values[i] =
            state.registers[(pauseRegisters[i] - engine::registerBase) / engine::registerSize];
    return values;
}

Part<PauseRegisters> readPauseRegisters(const Site &site)
{
    Part<PauseRegisters> part;
    if (!site.engineState.empty()) {
        const StateFile file = readStateFile(site.engineState);
        part.reason = file.reason.empty() ? "no tool of the engine has run yet" : file.reason;
        if (file.state != nullptr)
            part.held = pauseRegistersOf(*file.state);
        return part;
    }
    PauseRegisters values{};
    for (size_t i = 0; i < values.size(); ++i) {
        constexpr const char *label = "Value :"; // a decimal number follows
        const std::optional<std::string> said =
            access(registerTool, X_OK) == 0
                ? outputOf({registerTool, registerName(pauseRegisters[i]), "w"})
                : std::nullopt;
        const size_t place = said ? said->find(label) : std::string::npos;
        if (place == std::string::npos) {
            part.reason = std::string(registerTool) + " gives no value";
            return part;
        }
        values[i] = static_cast<uint32_t>(
            strtoul(said->c_str() + place + strlen(label), nullptr, /*base=*/0));
    }
    part.held = values;
    return part;
}

} // namespace swctl
