// Opens, checks, locks and maps the state file.
#include "simulator/engine/state_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace engine {

StateFile::~StateFile()
{
    if (state != nullptr)
        munmap(state, sizeof(State));
    if (fd >= 0)
        close(fd);
}

State *StateFile::open(const char *path, char *why, size_t whySize)
{
    struct stat info = {};
    fd = ::open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0660);
    if (fd < 0 || flock(fd, LOCK_EX) != 0 || fstat(fd, &info) != 0 ||
        (info.st_size == 0 && ftruncate(fd, sizeof(State)) != 0)) {
        snprintf(why, whySize, "cannot use the state file %s: %s", path, strerror(errno));
        return nullptr;
    }
    if (info.st_size != 0 && info.st_size != static_cast<off_t>(sizeof(State))) {
        snprintf(why, whySize, "%s is not a state file of this version; remove it", path);
        return nullptr;
    }
    void *memory = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (memory == MAP_FAILED) {
        snprintf(why, whySize, "cannot map the state file %s: %s", path, strerror(errno));
        return nullptr;
    }
    state = static_cast<State *>(memory);
    if (state->magic == 0) // a new file, or one whose creator got no further
        stateReset(*state);
    if (state->magic != stateMagic || state->version != stateVersion ||
        state->size != sizeof(State)) {
        snprintf(why, whySize, "%s is not a state file of this version; remove it", path);
        return nullptr;
    }
    return state;
}

} // namespace engine
