// swengine: all of the engine's tools in one program. The name it is called by, or its
// first argument, selects the tool.
#include "devices/engine/host.h"
#include "devices/engine/show.h"
#include "devices/engine/tools.h"
#include "simulator/engine/state_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using namespace engine;

constexpr char usageHead[] =
    R"(usage: swengine TOOL ARGUMENTS...     or TOOL ARGUMENTS... through a link of that name
       swengine show [--json]
       swengine reset
       swengine --help | --version

Simulates the tools of a packet switch engine, and vconfig and ifconfig if the
kernel does not support VLAN sub-interfaces.

)";

constexpr char usageTail[] =
    R"(
Environment:
  SWENGINE_STATE  file that keeps the state, default /var/swengine.state
  SWENGINE_TRACE  file or pipe to which each call adds its command line and status
  SWENGINE_VLAN   "simulated": do not use the kernel's VLAN support

Exit status: 0 done, 1 wrong arguments or no such interface, 2 well formed but
not possible, 3 the state file is unusable.
)";

int usagePrint()
{
    size_t count = 0;
    const Tool *all = tools(count);
    fputs(usageHead, stdout);
    for (size_t i = 0; i < count; ++i)
        printf("  %-17s  %s\n", all[i].name, all[i].usage);
    return fputs(usageTail, stdout) < 0 ? badArguments : 0;
}

// Traces the call as one line in one write. A pipe that nobody reads must not make the
// tool wait or fail.
void trace(const char *name, int count, char **words, int status, const char *error)
{
    const char *path = getenv("SWENGINE_TRACE");
    if (path == nullptr || *path == '\0')
        return;
    const int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0640);
    if (fd < 0)
        return;
    static_cast<void>(fcntl(fd, F_SETFL, O_APPEND)); // from here on, wait for a slow reader
    char line[1024];
    constexpr size_t last = sizeof(line) - 1;
    size_t at = 0;
    const auto add = [&](const char *before, const char *text) {
        const int length = snprintf(line + at, sizeof(line) - at, "%s%s", before, text);
        at = std::min(at + static_cast<size_t>(std::max(length, 0)), last);
    };
    add("tool  | ", name);
    for (int i = 0; i < count; ++i)
        add(" ", words[i]);
    char result[16];
    snprintf(result, sizeof(result), "%d", status);
    add(" -> ", result);
    if (status != 0) {
        add(" (", error);
        at -= at > 0 && line[at - 1] == '\n';
        add(")", "");
    }
    at = std::min(at, last - 1);
    line[at++] = '\n';
    signal(SIGPIPE, SIG_IGN); // a reader that has gone must not end the tool
    static_cast<void>(!write(fd, line, at));
    close(fd);
}

State *openState(StateFile &file)
{
    char why[256];
    const char *path = getenv("SWENGINE_STATE");
    if (path == nullptr || *path == '\0')
        path = defaultStatePath;
    State *state = file.open(path, why, sizeof(why));
    if (state == nullptr)
        fprintf(stderr, "swengine: %s\n", why);
    return state;
}

int show(bool json)
{
    StateFile file;
    const State *state = openState(file);
    if (state == nullptr)
        return noState;
    json ? jsonPrint(*state, stdout) : tablePrint(*state, stdout);
    return fflush(stdout) == 0 ? 0 : badArguments;
}

int reset()
{
    StateFile file;
    State *state = openState(file);
    if (state == nullptr)
        return noState;
    stateReset(*state);
    return 0;
}

// `name` is what the caller wrote, and may be a path.
int call(const Tool &tool, const char *name, int count, char **words)
{
    Reply reply = {};
    int status = noState;
    {
        StateFile file;
        State *state = openState(file);
        if (state != nullptr)
            status = toolRun(tool, thisHost, *state, count, words, reply);
    }
    fputs(reply.output, stdout);
    fputs(reply.error, stderr);
    trace(name, count, words, status, reply.error);
    return status;
}

int misused(const char *word)
{
    fprintf(stderr, "swengine: '%s' is not a tool. Try 'swengine --help'.\n", word);
    return badArguments;
}

} // namespace

int main(int argc, char **argv)
{
    const char *slash = argc > 0 ? strrchr(argv[0], '/') : nullptr;
    const char *name = slash != nullptr ? slash + 1 : argc > 0 ? argv[0] : "";
    if (const Tool *tool = toolByName(name))
        return call(*tool, argv[0], argc - 1, argv + 1);
    if (argc < 2)
        return misused("");
    const char *word = argv[1];
    if (strcmp(word, "--help") == 0)
        return usagePrint();
    if (strcmp(word, "--version") == 0)
        return puts("swengine " SWMGR_VERSION) < 0 ? badArguments : 0;
    if (strcmp(word, "show") == 0 && argc == 2)
        return show(/*json=*/false);
    if (strcmp(word, "show") == 0 && argc == 3 && strcmp(argv[2], "--json") == 0)
        return show(/*json=*/true);
    if (strcmp(word, "reset") == 0 && argc == 2)
        return reset();
    const Tool *tool = toolByName(word);
    return tool != nullptr ? call(*tool, word, argc - 2, argv + 2) : misused(word);
}
