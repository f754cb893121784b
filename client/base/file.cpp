// Uses system calls directly, because what matters is what has reached the disk.
#include "client/base/file.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "common/descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace swctl {
namespace {

void writeAll(int fd, const std::string &contents, const std::string &path)
{
    for (size_t sent = 0; sent < contents.size();) {
        const ssize_t length = write(fd, contents.data() + sent, contents.size() - sent);
        if (length < 0 && errno != EINTR)
            failFile("cannot write", path);
        sent += length > 0 ? static_cast<size_t>(length) : 0;
    }
}

} // namespace

void failFile(const std::string &what, const std::string &path)
{
    throw Failure(exitUsage, what + " " + printable(path) + ": " + strerror(errno));
}

std::string folderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

void syncFolder(const std::string &path)
{
    const std::string name = folderOf(path);
    const Descriptor folder(
        open(name.empty() ? "." : name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.valid())
        fsync(folder.get());
}

void removeFile(const std::string &path)
{
    if (unlink(path.c_str()) != 0 && errno != ENOENT)
        failFile("cannot remove", path);
}

void appendToFile(const std::string &path, const std::string &contents)
{
    const Descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0660));
    if (!file.valid())
        failFile("cannot write", path);
    writeAll(file.get(), contents, path);
    if (fdatasync(file.get()) != 0)
        failFile("cannot write", path);
}

void replaceFile(const std::string &path, const std::string &contents)
{
    const std::string fresh = path + ".new";
    {
        const Descriptor file(
            open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0660));
        if (!file.valid())
            failFile("cannot write", fresh);
        writeAll(file.get(), contents, fresh);
        if (fdatasync(file.get()) != 0)
            failFile("cannot write", fresh);
    }
    if (rename(fresh.c_str(), path.c_str()) != 0)
        failFile("cannot write", path);
    syncFolder(path);
}

void publishFile(const std::string &path, const std::string &contents)
{
    constexpr mode_t everybodyReads = 0644;
    std::string fresh = path + ".XXXXXX";
    Descriptor file(mkostemp(fresh.data(), O_CLOEXEC));
    if (!file.valid())
        failFile("cannot write", path);
    try {
        writeAll(file.get(), contents, path);
        if (fchmod(file.get(), everybodyReads) != 0 || close(file.release()) != 0 ||
            rename(fresh.c_str(), path.c_str()) != 0)
            failFile("cannot write", path);
    } catch (const Failure &) {
        unlink(fresh.c_str());
        throw;
    }
}

std::optional<std::string> fileContents(const std::string &path, size_t most)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file.valid() && errno == ENOENT)
        return std::nullopt;
    struct stat about = {};
    if (!file.valid() || fstat(file.get(), &about) != 0)
        failFile("cannot read", path);
    if (!S_ISREG(about.st_mode) || static_cast<size_t>(about.st_size) > most)
        throw Failure(exitUsage, printable(path) + " was not written by swctl");
    std::string contents(static_cast<size_t>(about.st_size), '\0');
    size_t got = 0;
    for (ssize_t length = 1; length > 0 && got < contents.size();
         got += static_cast<size_t>(length)) {
        length = read(file.get(), contents.data() + got, contents.size() - got);
        if (length < 0)
            failFile("cannot read", path);
    }
    contents.resize(got);
    return contents;
}

} // namespace swctl
