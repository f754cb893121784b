// Fetches a running chip's state, part by part, and prints it.
#include "common/descriptor.h"
#include "common/exit_status.h"
#include "simulator/chip/server.h"
#include "standins/sal/device_protocol.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace chip {

namespace {

// Appends the next part and returns its length, 0 at the end, -1 with errno set.
int fetchPart(int fd, int64_t argument, std::string &state)
{
    const device::RequestHeader request = {
        .request = device::stateRequest, .reserved = 0, .argument = argument};
    if (send(fd, &request, sizeof(request), MSG_NOSIGNAL) < 0)
        return -1;
    std::vector<char> packet(sizeof(device::AnswerHeader) + device::maxStatePart);
    const ssize_t length = recv(fd, packet.data(), packet.size(), 0);
    device::AnswerHeader header = {};
    errno = length < 0 ? errno : EPROTO;
    if (length < static_cast<ssize_t>(sizeof(header)))
        return -1;
    memcpy(&header, packet.data(), sizeof(header));
    const auto text = static_cast<size_t>(length) - sizeof(header);
    if (header.result < 0 || static_cast<size_t>(header.result) != text)
        return -1;
    state.append(packet.data() + sizeof(header), text);
    return header.result;
}

} // namespace

int show(const std::string &socketPath, bool json)
{
    const Descriptor device(connectTo(socketPath));
    if (!device.valid()) {
        fprintf(stderr, "swchip: no chip answers at %s: %s\n", socketPath.c_str(), strerror(errno));
        return EXIT_FAILED;
    }
    std::string state;
    int part = fetchPart(device.get(), json ? device::stateJson : device::stateTable, state);
    while (part > 0)
        part = fetchPart(device.get(), device::stateNext, state);
    if (part < 0) {
        fprintf(stderr, "swchip: the chip at %s gave no state: %s\n", socketPath.c_str(),
                strerror(errno));
        return EXIT_FAILED;
    }
    fputs(state.c_str(), stdout);
    return fflush(stdout) == 0 ? EXIT_STOPPED : EXIT_FAILED;
}

} // namespace chip
