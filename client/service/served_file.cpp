// Reads the file in which the host names its database, or else checks which files the serving
// process has open.
#include "client/service/served_file.h"

#include "client/base/failure.h"
#include "client/base/text.h"
#include "client/service/service_life.h"
#include "common/descriptor.h"
#include "common/served_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstring>
#include <memory>
#include <optional>

namespace swctl {
namespace {

struct FileId {
    uintmax_t device = 0;
    uintmax_t inode = 0;
    std::string path;
};

FileId idOf(const struct stat &about, std::string path)
{
    return {about.st_dev, about.st_ino, std::move(path)};
}

std::string textFrom(int file)
{
    constexpr size_t most = PATH_MAX + 64; // room for two numbers before the path
    std::string text(most, '\0');
    const ssize_t length = read(file, text.data(), text.size());
    text.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return text;
}

// What the host has written down. After the host has ended, the file remains but is not locked;
// anyone who can write the folder could have placed one there.
std::optional<FileId> toldBy(const ServingProcess &process)
{
    const std::string path = std::string(relayDirectory()) + "/" + servedFileName;
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat about = {};
    if (!file.valid() || fstat(file.get(), &about) != 0 || !S_ISREG(about.st_mode) ||
        (about.st_uid != 0 && about.st_uid != process.user))
        return std::nullopt;
    if (flock(file.get(), LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK)
        return std::nullopt;
    const std::string text = textFrom(file.get());
    if (text.empty() || text.back() != '\n')
        return std::nullopt;
    FileId told;
    char *end = nullptr;
    told.device = strtoumax(text.c_str(), &end, 10);
    told.inode = strtoumax(end, &end, 10);
    if (told.inode == 0 || *end != ' ')
        return std::nullopt;
    told.path = end + 1;
    told.path.pop_back();
    return told;
}

bool isDatabase(const std::string &path)
{
    constexpr char magic[] = "SQLite format 3";
    char head[sizeof(magic)] = {};
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return file.valid() && read(file.get(), head, sizeof(head)) == sizeof(head) &&
           memcmp(head, magic, sizeof(head)) == 0;
}

// The database that the process has open, `wanted` if it is one of several. nullopt if there is
// none, or the kernel denies access.
std::optional<FileId> openIn(const ServingProcess &process, const FileId &wanted)
{
    const std::string folder = "/proc/" + std::to_string(process.id) + "/fd/";
    const std::unique_ptr<DIR, int (*)(DIR *)> all(opendir(folder.c_str()), closedir);
    std::optional<FileId> found;
    while (const dirent *entry = all != nullptr ? readdir(all.get()) : nullptr) {
        const std::string link = folder + entry->d_name;
        struct stat about = {};
        if (stat(link.c_str(), &about) != 0 || !S_ISREG(about.st_mode))
            continue;
        if (about.st_dev == wanted.device && about.st_ino == wanted.inode)
            return wanted;
        char path[PATH_MAX] = {};
        if (isDatabase(link) && readlink(link.c_str(), path, sizeof(path) - 1) > 0)
            found = idOf(about, path);
    }
    return found;
}

} // namespace

ServedFile servedFile(const std::string &databasePath)
{
    const std::optional<ServingProcess> process = servingProcess();
    struct stat about = {};
    if (!process)
        return {};
    if (stat(databasePath.c_str(), &about) != 0)
        return {Serving::untold, {}};
    const FileId wanted = idOf(about, databasePath);
    std::optional<FileId> served = toldBy(*process);
    if (!served)
        served = openIn(*process, wanted);
    if (!served)
        return {Serving::untold, {}};
    if (served->device == wanted.device && served->inode == wanted.inode)
        return {Serving::thisFile, {}};
    return {Serving::anotherFile, served->path};
}

std::string otherFileText(const std::string &path)
{
    return "the service uses another file, " + printable(path) + "; the hardware follows that one";
}

void refuseAnotherFile(const std::string &databasePath)
{
    const ServedFile served = servedFile(databasePath);
    if (served.serving == Serving::anotherFile)
        throw Failure(exitRefused,
                      "refused: the service serves another file than " + printable(databasePath) +
                          ": " + printable(served.path) +
                          ", possibly since replaced\n  Nothing was written or sent. Select the "
                          "file that the service uses with --database, or start a service on "
                          "this one.");
}

} // namespace swctl
