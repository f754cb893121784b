// The NOTIFY_SOCKET protocol without a library: it is a single datagram.
#include "host/notify.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

bool notifyManager(const char *message)
{
    const char *path = getenv("NOTIFY_SOCKET");
    if (path == nullptr || path[0] == '\0')
        return true;
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const size_t length = strlen(path);
    if (length >= sizeof(address.sun_path) || (path[0] != '/' && path[0] != '@'))
        return false;
    memcpy(address.sun_path, path, length);
    if (path[0] == '@')
        address.sun_path[0] = '\0'; // a name without a file
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    const auto addressLength =
        static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + length);
    const ssize_t sent = sendto(fd, message, strlen(message), MSG_NOSIGNAL,
                                reinterpret_cast<const struct sockaddr *>(&address), addressLength);
    close(fd);
    return sent >= 0;
}
