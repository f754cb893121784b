// Reads the state of a chip from its device node.
#include "simulator/cuse/device.h"

#include "common/descriptor.h"
#include "common/exit_status.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace chip {

namespace {

int failed(const char *what, const std::string &path)
{
    fprintf(stderr, "swcuse: cannot %s %s: %s\n", what, path.c_str(), strerror(errno));
    return EXIT_FAILED;
}

} // namespace

int deviceShow(const std::string &path, bool json)
{
    const Descriptor device(open(path.c_str(), O_RDWR | O_CLOEXEC));
    if (!device.valid())
        return failed("open", path);
    const std::string word = json ? jsonWord : tableWord;
    if (write(device.get(), word.data(), word.size()) < 0)
        return failed("ask", path);
    std::array<char, 4096> part;
    ssize_t length = 0;
    while ((length = read(device.get(), part.data(), part.size())) > 0)
        fwrite(part.data(), 1, static_cast<size_t>(length), stdout);
    if (length < 0)
        return failed("read", path);
    return fflush(stdout) == 0 ? EXIT_STOPPED : EXIT_FAILED;
}

} // namespace chip
