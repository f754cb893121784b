// Owner of a file descriptor, used by the chip's socket server and client.
#pragma once

#include <unistd.h>

#include <utility>

namespace chip {

class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor()
    {
        if (fd_ >= 0)
            close(fd_);
    }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }

private:
    int fd_; // -1 for none
};

} // namespace chip
