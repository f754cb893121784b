// Directory, lock and socket of a module. The lock decides who owns the module, so a
// socket file without a lock is known to belong to a dead service.
#include "standins/relay/endpoint.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <utility>

namespace relay {

namespace {

constexpr mode_t directoryMode = 0750;
constexpr mode_t socketMode = 0660;
constexpr mode_t lockMode = 0600;
constexpr int backlog = 64;
constexpr int maxLockAttempts = 16;

const char *directory()
{
    const char *name = getenv("RELAY_DIR");
    return name != nullptr && name[0] != '\0' ? name : "/run/relay";
}

// Why a module could not be registered.
struct Fault {
    const char *what; // printed before the directory's name; null: nothing
    int error;        // positive errno
};

int failed(Fault &fault, const char *what, int error)
{
    fault = {what, error};
    return -error;
}

void complain(int moduleId, const Fault &fault)
{
    fprintf(stderr, "librelay: module %d: %s %s: %s\n", moduleId, fault.what, directory(),
            strerror(fault.error));
}

// Anyone who can write to the directory can put their own socket into it.
int prepareDirectory(Fault &fault)
{
    if (mkdir(directory(), directoryMode) == 0) {
        // The umask must not remove the group's access.
        return chmod(directory(), directoryMode) == 0 ? 0 : failed(fault, "chmod", errno);
    }
    if (errno != EEXIST)
        return failed(fault, "cannot create directory", errno);
    struct stat status = {};
    if (stat(directory(), &status) != 0)
        return failed(fault, "cannot use directory", errno);
    if (!S_ISDIR(status.st_mode))
        return failed(fault, "cannot use", ENOTDIR);
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0 ||
        (status.st_uid != 0 && status.st_uid != geteuid()))
        return failed(fault, "others may write to directory", EPERM);
    return 0;
}

int lockPath(int moduleId, char *path, size_t size)
{
    const int length = snprintf(path, size, "%s/%d.lock", directory(), moduleId);
    return length > 0 && static_cast<size_t>(length) < size ? 0 : -ENAMETOOLONG;
}

// Whether the file behind a descriptor still has this name.
bool isAt(int fd, const char *path)
{
    struct stat held = {};
    struct stat found = {};
    return fstat(fd, &held) == 0 && lstat(path, &found) == 0 && held.st_ino == found.st_ino &&
           held.st_dev == found.st_dev;
}

// A service that ends removes its lock file, so the locked file may no longer be the one
// that others find; then the next attempt takes the new one.
int takeLock(int moduleId, Descriptor &lock)
{
    char path[sizeof(sockaddr_un::sun_path)];
    if (lockPath(moduleId, path, sizeof(path)) != 0)
        return -ENAMETOOLONG;
    for (int attempt = 0; attempt < maxLockAttempts; ++attempt) {
        lock.reset(open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, lockMode));
        if (!lock.valid())
            return -errno;
        if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
            return errno == EWOULDBLOCK ? -EADDRINUSE : -errno;
        if (isAt(lock.get(), path))
            return 0;
    }
    return -EADDRINUSE;
}

int bindSocket(int moduleId, Descriptor &listener)
{
    struct sockaddr_un address = {};
    if (endpointAddress(moduleId, address) != 0)
        return -ENAMETOOLONG;
    listener.reset(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!listener.valid())
        return -errno;
    if (unlink(address.sun_path) != 0 && errno != ENOENT)
        return -errno;
    // The file gets the descriptor's mode minus the umask: never more than its final mode,
    // which it gets before anyone can connect.
    if (fchmod(listener.get(), socketMode) != 0 ||
        bind(listener.get(), reinterpret_cast<const struct sockaddr *>(&address),
             sizeof(address)) != 0 ||
        chmod(address.sun_path, socketMode) != 0 || listen(listener.get(), backlog) != 0)
        return -errno;
    return 0;
}

int take(int moduleId, Endpoint &endpoint, Fault &fault)
{
    int status = prepareDirectory(fault);
    if (status != 0)
        return status;
    status = takeLock(moduleId, endpoint.lock);
    if (status != 0) {
        endpoint.lock.reset();
        return failed(fault,
                      status == -EADDRINUSE ? "another process serves it in" : "cannot lock it in",
                      -status);
    }
    status = bindSocket(moduleId, endpoint.listener);
    if (status != 0) {
        endpointClose(moduleId, endpoint);
        return failed(fault, "cannot bind its socket in", -status);
    }
    return 0;
}

bool holdsLock(int moduleId, const Endpoint &endpoint)
{
    char path[sizeof(sockaddr_un::sun_path)];
    return lockPath(moduleId, path, sizeof(path)) == 0 && isAt(endpoint.lock.get(), path);
}

bool socketIsPresent(int moduleId)
{
    struct sockaddr_un address = {};
    struct stat about = {};
    return endpointAddress(moduleId, address) == 0 && lstat(address.sun_path, &about) == 0 &&
           S_ISSOCK(about.st_mode);
}

} // namespace

int endpointAddress(int moduleId, struct sockaddr_un &address)
{
    address = {};
    address.sun_family = AF_UNIX;
    const int length =
        snprintf(address.sun_path, sizeof(address.sun_path), "%s/%d.sock", directory(), moduleId);
    return length > 0 && static_cast<size_t>(length) < sizeof(address.sun_path) ? 0 : -ENAMETOOLONG;
}

int endpointOpen(int moduleId, Endpoint &endpoint)
{
    Fault fault = {};
    const int status = take(moduleId, endpoint, fault);
    if (status != 0)
        complain(moduleId, fault);
    return status;
}

int endpointRenew(int moduleId, Endpoint &endpoint, int previous)
{
    const bool locked = holdsLock(moduleId, endpoint);
    if (locked && socketIsPresent(moduleId))
        return 0;
    Fault fault = {};
    Endpoint fresh;
    int status = 0;
    if (!locked) {
        status = take(moduleId, fresh, fault);
    } else {
        status = bindSocket(moduleId, fresh.listener);
        if (status != 0)
            static_cast<void>(failed(fault, "cannot bind its socket in", -status));
    }
    if (status != 0) {
        if (status != previous)
            complain(moduleId, fault);
        return status;
    }
    fprintf(stderr, "librelay: module %d: its socket was removed and has been created again\n",
            moduleId);
    endpoint.listener = std::move(fresh.listener);
    if (!locked)
        endpoint.lock = std::move(fresh.lock);
    return 0;
}

// If the lock is no longer ours, the directory has been replaced, and its contents belong
// to whoever serves the module now.
void endpointClose(int moduleId, Endpoint &endpoint)
{
    struct sockaddr_un address = {};
    char path[sizeof(address.sun_path)];
    if (endpoint.lock.valid() && holdsLock(moduleId, endpoint)) {
        if (endpoint.listener.valid() && endpointAddress(moduleId, address) == 0)
            unlink(address.sun_path);
        if (lockPath(moduleId, path, sizeof(path)) == 0)
            unlink(path);
    }
    endpoint.listener.reset();
    endpoint.lock.reset();
}

} // namespace relay
