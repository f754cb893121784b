// Opens, checks, locks and maps the state file.
#include "engine/state_file.h"

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
    if (state_ != nullptr)
        munmap(state_, sizeof(State));
    if (fd_ >= 0)
        close(fd_);
}

State *StateFile::open(const char *path, char *why, size_t whySize)
{
    struct stat info = {};
    fd_ = ::open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0660);
    if (fd_ < 0 || flock(fd_, LOCK_EX) != 0 || fstat(fd_, &info) != 0 ||
        (info.st_size == 0 && ftruncate(fd_, sizeof(State)) != 0)) {
        snprintf(why, whySize, "cannot use the state file %s: %s", path, strerror(errno));
        return nullptr;
    }
    if (info.st_size != 0 && info.st_size != static_cast<off_t>(sizeof(State))) {
        snprintf(why, whySize, "%s is no state file of this version; remove it", path);
        return nullptr;
    }
    void *memory = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
    if (memory == MAP_FAILED) {
        snprintf(why, whySize, "cannot map the state file %s: %s", path, strerror(errno));
        return nullptr;
    }
    state_ = static_cast<State *>(memory);
    if (state_->magic == 0) // a new file, or one whose maker did not get further
        resetState(*state_);
    if (state_->magic != stateMagic || state_->version != stateVersion ||
        state_->size != sizeof(State)) {
        snprintf(why, whySize, "%s is no state file of this version; remove it", path);
        return nullptr;
    }
    return state_;
}

} // namespace engine
