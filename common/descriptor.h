// Owner of a file descriptor, which is closed at the end of the scope unless released. Not used
// in the library, whose descriptors belong to the platform.
#pragma once

#include <unistd.h>

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : fd(number) {}
    Descriptor(Descriptor &&other) noexcept : fd(other.release()) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~Descriptor() { reset(); }

    int get() const { return fd; }
    bool valid() const { return fd >= 0; }

    int release()
    {
        const int handedOn = fd;
        fd = -1;
        return handedOn;
    }

    void reset(int number = -1)
    {
        if (fd >= 0)
            close(fd);
        fd = number;
    }

private:
    int fd = -1; // -1: none
};
