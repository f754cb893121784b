// Device nodes and simulated devices. A path that is a Unix socket leads to a simulated
// device, which gets its requests as packets; every other descriptor belongs to the
// kernel, network sockets included.
#include "common/descriptor.h"
#include "standins/sal/device_protocol.h"
#include "standins/sal/exported.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace {

constexpr time_t answerTimeout = 10;           // seconds
constexpr uint32_t readDirection = 0x80000000; // the driver fills the record
constexpr size_t maxDevices = 8;

// What a descriptor was connected to, for reconnecting to a restarted device.
struct SimulatedDevice {
    int fd;                     // 0: entry not used
    struct sockaddr_un address; // of the device's socket
};

// Written by salOpen and salClose. A device that does not fit in the table works, but is
// not reconnected.
constinit SimulatedDevice devices[maxDevices] = {};

bool isSimulated(int fd)
{
    int domain = 0;
    socklen_t length = sizeof(domain);
    return getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &length) == 0 && domain == AF_UNIX;
}

SimulatedDevice *findDevice(int fd)
{
    for (SimulatedDevice &device : devices)
        if (device.fd == fd)
            return &device;
    return nullptr;
}

void forget(int fd)
{
    SimulatedDevice *device = fd > 0 ? findDevice(fd) : nullptr;
    if (device != nullptr)
        *device = {};
}

void remember(int fd, const struct sockaddr_un &address)
{
    forget(fd);
    SimulatedDevice *entry = findDevice(0);
    if (entry != nullptr)
        *entry = {fd, address};
}

int connectDevice(const struct sockaddr_un &address)
{
    Descriptor device(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    struct timeval limit = {};
    limit.tv_sec = answerTimeout;
    if (!device.valid() ||
        setsockopt(device.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) != 0 ||
        setsockopt(device.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) != 0 ||
        connect(device.get(), reinterpret_cast<const struct sockaddr *>(&address),
                sizeof(address)) != 0)
        return -errno;
    return device.release();
}

int openSimulated(const char *path)
{
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const size_t length = strlen(path);
    if (length >= sizeof(address.sun_path))
        return -ENAMETOOLONG;
    memcpy(address.sun_path, path, length);
    const int fd = connectDevice(address);
    if (fd > 0)
        remember(fd, address);
    return fd;
}

// The caller's descriptor keeps its number.
int reconnect(int fd)
{
    const SimulatedDevice *known = findDevice(fd);
    if (known == nullptr)
        return -ENODEV;
    const int connected = connectDevice(known->address);
    if (connected < 0)
        return connected;
    const Descriptor renewed(connected);
    return dup3(renewed.get(), fd, O_CLOEXEC) >= 0 ? 0 : -errno;
}

int sendRequest(int fd, device::RequestHeader &header, void *record)
{
    struct iovec parts[] = {{&header, sizeof(header)},
                            {record, device::recordSize(header.request)}};
    struct msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    ssize_t sent = 0;
    do {
        sent = sendmsg(fd, &message, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent >= 0 ? 0 : -errno;
}

int receiveAnswer(int fd, uint32_t request, void *record)
{
    device::AnswerHeader header = {};
    const size_t filled = (request & readDirection) != 0 ? device::recordSize(request) : 0;
    struct iovec parts[] = {{&header, sizeof(header)}, {record, filled}};
    struct msghdr message = {};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    ssize_t length = 0;
    do {
        length = recvmsg(fd, &message, MSG_TRUNC);
    } while (length < 0 && errno == EINTR);
    if (length < 0)
        return errno == EAGAIN ? -ETIMEDOUT : -errno;
    if (length == 0)
        return -EIO; // the device has gone
    return static_cast<size_t>(length) >= sizeof(header) + filled ? header.result : -EPROTO;
}

// A request that was never sent is sent again on a new connection. One that was sent may
// have been carried out, so its failure is reported to the caller; the connection is then
// closed, lest a late answer be taken for that of the next request.
int simulatedIoctl(int fd, uint32_t request, void *arg)
{
    const bool hasRecord = device::recordSize(request) != 0;
    if (hasRecord && arg == nullptr)
        return -EFAULT;
    device::RequestHeader header = {};
    header.request = request;
    header.argument = hasRecord ? 0 : reinterpret_cast<intptr_t>(arg);
    // The kernel checks the address of an empty buffer, too.
    void *record = hasRecord ? arg : nullptr;
    int status = sendRequest(fd, header, record);
    if (status == -EPIPE || status == -ECONNRESET || status == -ENOTCONN) {
        status = reconnect(fd);
        if (status == 0)
            status = sendRequest(fd, header, record);
    }
    if (status != 0)
        return status == -EAGAIN ? -ETIMEDOUT : status;
    status = receiveAnswer(fd, request, record);
    if (status == -ETIMEDOUT || status == -EPROTO)
        shutdown(fd, SHUT_RDWR);
    return status;
}

} // namespace

int salOpen(const char *path, int flags, int mode)
{
    if (path == nullptr)
        return -EINVAL;
    struct stat status = {};
    if (stat(path, &status) == 0 && S_ISSOCK(status.st_mode))
        return openSimulated(path);
    const int fd = open(path, flags | O_CLOEXEC, static_cast<mode_t>(mode));
    return fd >= 0 ? fd : -errno;
}

int salClose(int fd)
{
    forget(fd);
    return close(fd) == 0 ? 0 : -errno;
}

int salIoctl(int fd, unsigned int request, void *arg)
{
    if (isSimulated(fd))
        return simulatedIoctl(fd, request, arg);
    const int result = ioctl(fd, static_cast<unsigned long>(request), arg);
    return result >= 0 ? result : -errno;
}
