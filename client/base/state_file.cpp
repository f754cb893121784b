#include "client/base/state_file.h"

#include "client/base/text.h"
#include "common/descriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace swctl {
namespace {

constexpr int lockStep = 2;      // ms between attempts to lock the state file
constexpr int longestLock = 500; // ms

// A tool holds the lock while it runs; a stopped tool never releases it.
bool lockShared(int file)
{
    for (int waited = 0; flock(file, LOCK_SH | LOCK_NB) != 0; waited += lockStep) {
        if (errno != EINTR && (errno != EWOULDBLOCK || waited >= longestLock))
            return false;
        poll(nullptr, 0, lockStep);
    }
    return true;
}

// Reads everything but the tables of VLANs and addresses. The file is read rather than mapped,
// so that truncation causes a short read instead of a signal.
bool readPieces(int file, engine::State &state)
{
    constexpr size_t headSize = offsetof(engine::State, vlans);
    return pread(file, &state, headSize, 0) == static_cast<ssize_t>(headSize) &&
           pread(file, state.interfaces, sizeof(state.interfaces),
                 offsetof(engine::State, interfaces)) ==
               static_cast<ssize_t>(sizeof(state.interfaces));
}

} // namespace

StateFile readStateFile(const std::string &path)
{
    const auto refused = [&path](const char *reason) {
        return StateFile{{nullptr, free}, printable(path) + ": " + reason};
    };
    const auto none = [] { return StateFile{{nullptr, free}, {}}; };
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat about = {};
    if (!file.valid() && errno == ENOENT)
        return none();
    if (!file.valid() || fstat(file.get(), &about) != 0)
        return refused(strerror(errno));
    if (!S_ISREG(about.st_mode))
        return refused("not a state file");
    if (!lockShared(file.get()))
        return refused(errno == EWOULDBLOCK ? "a tool keeps it locked" : strerror(errno));
    if (fstat(file.get(), &about) == 0 && about.st_size == 0)
        return none();
    StateFile read{{static_cast<engine::State *>(calloc(1, sizeof(engine::State))), free}, {}};
    if (read.state == nullptr)
        return refused(strerror(ENOMEM));
    if (about.st_size != static_cast<off_t>(sizeof(engine::State)) ||
        !readPieces(file.get(), *read.state))
        return refused("not a state file of this version");
    if (read.state->magic == 0)
        return none();
    if (read.state->magic != engine::stateMagic || read.state->version != engine::stateVersion ||
        read.state->size != sizeof(engine::State))
        return refused("not a state file of this version");
    return read;
}

} // namespace swctl
