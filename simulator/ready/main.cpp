// swready: waits on a NOTIFY_SOCKET until the program that uses it reports that it is
// ready. The scripts of the simulated gateway use it.
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr char usage[] =
    R"(usage: swready SOCKET [SECONDS]
       swready --help | --version

Listens at SOCKET, a path, and waits up to SECONDS (default 30) for the message
"READY=1" of a program that was started with NOTIFY_SOCKET=SOCKET. Removes SOCKET
at the end.

Exit status: 0 ready, 1 not ready in time or no socket, 2 wrong usage.
)";

int listenAt(const char *path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return -1;
    }
    strcpy(address.sun_path, path);
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0)
        return -1;
    return fd;
}

// A message is a list of lines, each one assignment.
bool saysReady(std::string_view message)
{
    while (!message.empty()) {
        const size_t end = std::min(message.find('\n'), message.size());
        if (message.substr(0, end) == "READY=1")
            return true;
        message.remove_prefix(std::min(end + 1, message.size()));
    }
    return false;
}

bool waitReady(int fd, std::chrono::seconds limit)
{
    using std::chrono::steady_clock;
    const auto until = steady_clock::now() + limit;
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(until - steady_clock::now()).count();
        pollfd wait = {.fd = fd, .events = POLLIN, .revents = 0};
        if (left <= 0 || poll(&wait, 1, static_cast<int>(left)) == 0)
            return false;
        char message[1024];
        const ssize_t length = recv(fd, message, sizeof(message), MSG_DONTWAIT);
        if (length > 0 && saysReady({message, static_cast<size_t>(length)}))
            return true;
    }
}

int misused()
{
    fputs("swready: wrong arguments. Try 'swready --help'.\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "--help")
        return fputs(usage, stdout) < 0 ? 1 : 0;
    if (first == "--version")
        return puts("swready " SWMGR_VERSION) < 0 ? 1 : 0;
    if (argc < 2 || argc > 3 || first.empty() || first[0] == '-')
        return misused();
    long seconds = 30;
    if (argc == 3) {
        char *end = nullptr;
        seconds = strtol(argv[2], &end, 10);
        if (*end != '\0' || end == argv[2] || seconds < 1 || seconds > 3600)
            return misused();
    }
    const int fd = listenAt(argv[1]);
    if (fd < 0) {
        fprintf(stderr, "swready: cannot listen at %s: %s\n", argv[1], strerror(errno));
        return 1;
    }
    const bool ready = waitReady(fd, std::chrono::seconds(seconds));
    unlink(argv[1]);
    return ready ? 0 : 1;
}
