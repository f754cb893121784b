// The service manager's side of a start.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace bench {

// A socket on which daemons report that they are ready.
class ReadySocket {
public:
    explicit ReadySocket(const std::string &path) : name(path)
    {
        unlink(path.c_str());
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0)
            perror("bind");
    }
    ~ReadySocket()
    {
        close(fd);
        unlink(name.c_str());
    }
    ReadySocket(const ReadySocket &) = delete;
    ReadySocket &operator=(const ReadySocket &) = delete;

    void waitFor(const char *state) const
    {
        char text[256];
        for (ssize_t got = 0; (got = recv(fd, text, sizeof(text) - 1, 0)) > 0;) {
            text[got] = '\0';
            if (strstr(text, state) != nullptr)
                return;
        }
    }

private:
    std::string name;
    int fd;
};

} // namespace bench
