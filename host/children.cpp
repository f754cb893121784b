// Reads the kernel's list of the process's children. Called by a signal handler, so it
// uses only system calls.
#include "host/children.h"

#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <unistd.h>

namespace {

void end(pid_t child)
{
    kill(-child, SIGKILL); // the platform runs each tool in its own process group
    kill(child, SIGKILL);
}

} // namespace

void childrenEnd()
{
    const int list = open("/proc/thread-self/children", O_RDONLY | O_CLOEXEC);
    if (list < 0)
        return;
    char text[1024]; // the service runs one tool at a time
    const ssize_t length = read(list, text, sizeof(text));
    close(list);
    pid_t child = 0;
    for (ssize_t i = 0; i < length; ++i) {
        if (text[i] >= '0' && text[i] <= '9') {
            child = child * 10 + (text[i] - '0');
            continue;
        }
        if (child > 1)
            end(child);
        child = 0;
    }
}
