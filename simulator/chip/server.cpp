// Accepts openers, answers each of their requests with one packet, and writes the trace.
#include "simulator/chip/server.h"

#include "common/descriptor.h"
#include "common/exit_status.h"
#include "devices/chip/chip_text.h"
#include "standins/sal/device_protocol.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <vector>

namespace chip {

namespace {

constexpr size_t maxOpeners = 64; // further ones wait in the listen queue
constexpr size_t maxPacket = sizeof(device::RequestHeader) + device::maxRecordSize;

volatile sig_atomic_t stopping = 0; // written by the signal handler only

void onStop(int)
{
    stopping = 1;
}

struct Opener {
    Descriptor socket;
    std::string state; // snapshot being fetched part by part
    size_t sent = 0;   // bytes of it already sent
};

struct Server {
    Model &model;
    Descriptor listener;
    Descriptor trace; // -1: no trace
    std::vector<Opener> openers;
    std::vector<uint8_t> packet = std::vector<uint8_t>(maxPacket);
};

bool fillAddress(const std::string &path, sockaddr_un &address)
{
    address = {};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(address.sun_path, path.c_str(), path.size());
    return true;
}

// Removes a socket left behind by a chip that no longer runs.
void removeStale(const std::string &path)
{
    struct stat info = {};
    if (lstat(path.c_str(), &info) != 0 || !S_ISSOCK(info.st_mode))
        return;
    const Descriptor probe(connectTo(path));
    if (!probe.valid() && errno == ECONNREFUSED)
        unlink(path.c_str());
}

// The socket gets its name only when it listens: whoever sees it can connect.
Descriptor listenAt(const std::string &path)
{
    sockaddr_un address;
    const std::string fresh = path + "." + std::to_string(getpid());
    if (!fillAddress(fresh, address))
        return Descriptor();
    removeStale(path);
    unlink(fresh.c_str());
    Descriptor listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!listener.valid())
        return listener;
    const mode_t mask = umask(0117);
    const int bound =
        bind(listener.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address));
    umask(mask);
    const bool there =
        bound == 0 && listen(listener.get(), 16) == 0 && link(fresh.c_str(), path.c_str()) == 0;
    const int reason = errno;
    unlink(fresh.c_str());
    errno = reason;
    return there ? std::move(listener) : Descriptor();
}

// One write per line, so that lines from several writers to one file stay whole.
void traceLine(const Server &server, const std::string &line)
{
    if (!server.trace.valid())
        return;
    const std::string whole = "chip  | " + line + "\n";
    if (write(server.trace.get(), whole.data(), whole.size()) < 0)
        return; // a trace that cannot be written must not stop the device
}

bool answer(const Opener &opener, int32_t result, const void *bytes, size_t size)
{
    device::AnswerHeader header = {.result = result, .reserved = 0};
    iovec parts[] = {{.iov_base = &header, .iov_len = sizeof(header)},
                     {.iov_base = const_cast<void *>(bytes), .iov_len = size}};
    msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    return sendmsg(opener.socket.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
}

bool answerState(Server &server, Opener &opener, int64_t argument)
{
    if (argument < device::stateTable || argument > device::stateNext)
        return answer(opener, -EINVAL, nullptr, 0);
    if (argument != device::stateNext) {
        opener.state =
            argument == device::stateJson ? stateJson(server.model) : stateTable(server.model);
        opener.sent = 0;
    }
    const size_t part = std::min<size_t>(device::maxStatePart, opener.state.size() - opener.sent);
    const char *bytes = opener.state.data() + opener.sent;
    opener.sent += part;
    return answer(opener, static_cast<int32_t>(part), bytes, part);
}

// Answers one packet of `length` bytes; false if the opener must be disconnected.
bool answerPacket(Server &server, Opener &opener, size_t length)
{
    device::RequestHeader header = {};
    if (length < sizeof(header)) {
        traceLine(server, "packet of " + std::to_string(length) + " bytes is not a request");
        return answer(opener, -EINVAL, nullptr, 0);
    }
    memcpy(&header, server.packet.data(), sizeof(header));
    if (header.request == device::stateRequest)
        return answerState(server, opener, header.argument);
    uint8_t *record = server.packet.data() + sizeof(header);
    const size_t size = length - sizeof(header);
    const int result = server.model.handle(header.request, header.argument, record, size);
    // Queries of a client that reads the chip back would drown out what the service does.
    if (server.trace.valid() && (result < 0 || !isQuery(header.request)))
        traceLine(server, requestText(header.request, header.argument, record, size, result));
    return answer(opener, result, record, size);
}

// False if the opener has closed, or does not read its answers.
bool serveOpener(Server &server, Opener &opener)
{
    const ssize_t length = recv(opener.socket.get(), server.packet.data(), server.packet.size(),
                                MSG_DONTWAIT | MSG_TRUNC);
    if (length < 0)
        return errno == EAGAIN || errno == EINTR;
    if (length == 0)
        return false;
    if (static_cast<size_t>(length) > server.packet.size())
        return answer(opener, -EINVAL, nullptr, 0);
    return answerPacket(server, opener, static_cast<size_t>(length));
}

void acceptOpener(Server &server)
{
    Descriptor socket(accept4(server.listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (socket.valid())
        server.openers.push_back(Opener{.socket = std::move(socket), .state = {}, .sent = 0});
}

void serveOnce(Server &server, const sigset_t &waitMask)
{
    std::vector<pollfd> waits;
    const bool room = server.openers.size() < maxOpeners;
    waits.push_back({.fd = room ? server.listener.get() : -1, .events = POLLIN, .revents = 0});
    for (const Opener &opener : server.openers)
        waits.push_back({.fd = opener.socket.get(), .events = POLLIN, .revents = 0});
    if (ppoll(waits.data(), waits.size(), nullptr, &waitMask) <= 0)
        return;
    // Backwards, so that removing an opener does not move those still to be served.
    for (size_t i = server.openers.size(); i-- > 0;)
        if (waits[i + 1].revents != 0 && !serveOpener(server, server.openers[i]))
            server.openers.erase(server.openers.begin() + static_cast<ptrdiff_t>(i));
    if (waits[0].revents != 0)
        acceptOpener(server);
}

// Blocks the stop signals except during the wait itself.
sigset_t catchStop()
{
    struct sigaction action = {};
    action.sa_handler = onStop;
    sigset_t stop;
    sigset_t previous;
    sigemptyset(&stop);
    for (const int number : {SIGTERM, SIGINT}) {
        sigaction(number, &action, nullptr);
        sigaddset(&stop, number);
    }
    sigprocmask(SIG_BLOCK, &stop, &previous);
    sigdelset(&previous, SIGTERM);
    sigdelset(&previous, SIGINT);
    signal(SIGPIPE, SIG_IGN);
    return previous;
}

} // namespace

int connectTo(const std::string &socketPath)
{
    sockaddr_un address;
    if (!fillAddress(socketPath, address))
        return -1;
    const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return -1;
    if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0)
        return fd;
    const int reason = errno;
    close(fd);
    errno = reason;
    return -1;
}

int serve(Model &model, const ServerOptions &options)
{
    const sigset_t waitMask = catchStop();
    Descriptor trace;
    if (!options.tracePath.empty()) {
        trace = Descriptor(
            options.tracePath == "-"
                ? dup(STDOUT_FILENO)
                : open(options.tracePath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640));
        if (!trace.valid()) {
            fprintf(stderr, "swchip: cannot write the trace to %s: %s\n", options.tracePath.c_str(),
                    strerror(errno));
            return EXIT_FAILED;
        }
    }
    Descriptor listener = listenAt(options.socketPath);
    if (!listener.valid()) {
        fprintf(stderr, "swchip: cannot listen at %s: %s\n", options.socketPath.c_str(),
                strerror(errno));
        return EXIT_FAILED;
    }
    Server server{
        .model = model, .listener = std::move(listener), .trace = std::move(trace), .openers = {}};
    while (!stopping)
        serveOnce(server, waitMask);
    unlink(options.socketPath.c_str());
    return EXIT_STOPPED;
}

} // namespace chip
