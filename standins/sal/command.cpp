// Command lines. A plain line is split at spaces and run directly, which costs less than
// half of what a shell costs; a line with any meaning to a shell goes to the shell. A
// command that takes too long is ended together with everything it has started.
#include "common/clock.h"
#include "common/descriptor.h"
#include "standins/sal/exported.h"
#include "standins/sal/kernel_bridge.h"
#include "standins/sal/kernel_vlan.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef SYS_pidfd_open
#define SYS_pidfd_open 434 // the same on every architecture
#endif

namespace {

constexpr size_t maxPlainLine = 1024; // longer lines go to the shell
constexpr size_t maxWords = 64;       // lines with more words do, too
constexpr long defaultTimeout = 30;   // seconds
constexpr long maxTimeout = 24 * 3600;
constexpr int gracePeriod = 500; // ms between asking a command to end and ending it
constexpr int longestNap = 20;   // ms, if the kernel cannot wait with a limit
constexpr int resetSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGPIPE, SIGTERM,
                                SIGCHLD, SIGALRM, SIGUSR1, SIGUSR2};
constexpr int notExecutable = 126; // exit status of a shell and similar programs
constexpr int notFound = 127;

struct PlainLine {
    char text[maxPlainLine];
    char *words[maxWords + 1]; // null-terminated
    size_t count;
};

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

// None of these characters means anything to a shell, wherever it appears.
bool isPlain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           (c != '\0' && strchr("_.:@-/+,=%", c) != nullptr);
}

// False if the line must go to the shell.
bool splitPlain(const char *commandLine, PlainLine &line)
{
    line.count = 0;
    size_t length = 0;
    bool inWord = false;
    for (const char *c = commandLine; *c != '\0'; ++c, ++length) {
        if (length + 1 >= maxPlainLine || (!isBlank(*c) && !isPlain(*c)))
            return false;
        if (isBlank(*c)) {
            line.text[length] = '\0';
            inWord = false;
            continue;
        }
        line.text[length] = *c;
        if (!inWord) {
            if (line.count == maxWords)
                return false;
            line.words[line.count++] = &line.text[length];
            inWord = true;
        }
    }
    line.text[length] = '\0';
    line.words[line.count] = nullptr;
    // A first word with "=" would set a variable.
    return line.count == 0 || strchr(line.words[0], '=') == nullptr;
}

// The state in which a command starts, regardless of the host's own process: default
// signals, empty input, and a process group by which it can be ended.
class SpawnSettings {
public:
    SpawnSettings()
    {
        sigset_t none;
        sigemptyset(&none);
        sigset_t defaults = none;
        for (const int number : resetSignals)
            sigaddset(&defaults, number);
        posix_spawnattr_init(&attributes);
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &defaults);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                  POSIX_SPAWN_SETPGROUP);
        status = posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    ~SpawnSettings()
    {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings &) = delete;
    SpawnSettings &operator=(const SpawnSettings &) = delete;

    int spawn(pid_t &pid, char *const words[]) const
    {
        return status != 0 ? -status
                           : -posix_spawnp(&pid, words[0], &actions, &attributes, words, environ);
    }

private:
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t actions;
    int status = 0; // positive errno: the attributes could not be set
};

long timeoutSeconds()
{
    const char *text = getenv("SAL_CMD_TIMEOUT");
    const long seconds = text != nullptr ? strtol(text, nullptr, 10) : 0;
    return seconds > 0 && seconds <= maxTimeout ? seconds : defaultTimeout;
}

bool hasEnded(pid_t pid)
{
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid == pid;
}

// Waits until the process has ended, without reaping it. False: it is still running after
// `milliseconds`. `handle` is -1 on a kernel without process descriptors; then it polls
// with growing pauses.
bool waitForEnd(pid_t pid, int handle, int64_t milliseconds)
{
    const int64_t deadline = millisecondsNow(CLOCK_MONOTONIC) + milliseconds;
    int nap = 1;
    for (;;) {
        const int64_t left = deadline - millisecondsNow(CLOCK_MONOTONIC);
        if (left <= 0)
            return hasEnded(pid);
        if (handle >= 0) {
            struct pollfd end = {handle, POLLIN, 0};
            if (poll(&end, 1, static_cast<int>(left)) > 0)
                return true;
            continue;
        }
        if (hasEnded(pid))
            return true;
        poll(nullptr, 0, nap < left ? nap : static_cast<int>(left));
        nap = nap * 2 < longestNap ? nap * 2 : longestNap;
    }
}

// The process is reaped only after its group has been ended, so that the group's number
// cannot belong to another process by then.
void endGroup(pid_t pid, int handle)
{
    kill(-pid, SIGTERM);
    static_cast<void>(waitForEnd(pid, handle, gracePeriod));
    kill(-pid, SIGKILL);
}

int reap(pid_t pid, int &status)
{
    pid_t reaped = 0;
    do {
        reaped = waitpid(pid, &status, 0);
    } while (reaped < 0 && errno == EINTR);
    return reaped == pid ? 0 : -errno;
}

// A host that ignores SIGCHLD gets no statuses from the kernel; for the duration of a
// command it does.
class StatusKept {
public:
    StatusKept()
    {
        sigaction(SIGCHLD, nullptr, &before);
        if (!statusIsLost())
            return;
        struct sigaction usual = {};
        usual.sa_handler = SIG_DFL;
        sigaction(SIGCHLD, &usual, nullptr);
    }
    ~StatusKept()
    {
        if (statusIsLost())
            sigaction(SIGCHLD, &before, nullptr);
    }
    StatusKept(const StatusKept &) = delete;
    StatusKept &operator=(const StatusKept &) = delete;

private:
    bool statusIsLost() const
    {
        return before.sa_handler == SIG_IGN || (before.sa_flags & SA_NOCLDWAIT) != 0;
    }

    struct sigaction before = {};
};

int run(char *const words[], const char *commandLine)
{
    const StatusKept kept;
    pid_t pid = 0;
    int status = SpawnSettings().spawn(pid, words);
    if (status != 0)
        return status;
    const Descriptor handle(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    const long seconds = timeoutSeconds();
    const bool inTime = waitForEnd(pid, handle.get(), seconds * 1000);
    if (!inTime) {
        salFilePrintf(stderr, "libsal: \"%s\" has not ended within %ld s and is ended\n",
                      commandLine, seconds);
        endGroup(pid, handle.get());
    }
    int ended = 0;
    status = reap(pid, ended);
    if (status != 0 || !inTime)
        return status != 0 ? status : -ETIMEDOUT;
    if (!WIFEXITED(ended))
        return -(128 + WTERMSIG(ended));
    const int code = WEXITSTATUS(ended);
    if (code == notFound || code == notExecutable)
        return code == notFound ? -ENOENT : -EACCES;
    return code;
}

int runByShell(const char *commandLine)
{
    char shell[] = "/bin/sh";
    char option[] = "-c";
    // A spawned program's arguments are not modified.
    char *words[] = {shell, option, const_cast<char *>(commandLine), nullptr};
    return run(words, commandLine);
}

} // namespace

int salCmdExec(const char *commandLine, int /*arg1*/, int /*arg2*/)
{
    if (commandLine == nullptr)
        return -EINVAL;
    PlainLine line;
    if (!splitPlain(commandLine, line))
        return runByShell(commandLine);
    if (line.count == 0)
        return 0;
    int status = 0;
    if (kernelVlanWanted() &&
        (kernelVlanRun(line.words, line.count, status) || kernelBridgeRun(line.words, line.count)))
        return status;
    status = run(line.words, commandLine);
    // Only a shell can run a script without an interpreter line.
    return status == -ENOEXEC ? runByShell(commandLine) : status;
}
