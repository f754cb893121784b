// Owners for resources that the library borrows from the platform during a call.
#pragma once

#include "platform/database.h"
#include "platform/sal.h"

#include <cstdlib>
#include <memory>

template <auto Release>
struct Releaser {
    template <class T>
    void operator()(T *resource) const
    {
        // One release per owner; cppcheck takes all instances for the same function.
        // cppcheck-suppress doubleFree
        static_cast<void>(Release(resource));
    }
};

using ResultTable = std::unique_ptr<char *, Releaser<sqlite3_free_table>>;
using SqlText = std::unique_ptr<char, Releaser<sqlite3_free>>;
using SalFile = std::unique_ptr<FILE, Releaser<salFileClose>>;
using PointerArray = std::unique_ptr<char *, Releaser<free>>;

// A descriptor to be closed by sal; negative if there is none.
class SalDescriptor {
public:
    explicit SalDescriptor(int descriptor) : fd(descriptor) {}
    ~SalDescriptor()
    {
        if (fd >= 0)
            static_cast<void>(salClose(fd));
    }
    SalDescriptor(const SalDescriptor &) = delete;
    SalDescriptor &operator=(const SalDescriptor &) = delete;

    [[nodiscard]] int get() const { return fd; }

private:
    int fd;
};
