#include "client/rehearse/rehearsal.h"

#include "client/base/failure.h"
#include "client/base/program.h"
#include "client/base/text.h"
#include "devices/chip/chip_text.h"
#include "swmgr/swmgr_client.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

namespace swctl {
namespace {

using rehearsal::Kind;
using rehearsal::Piece;

constexpr const char *program = "swrehearse";

[[noreturn]] void failRehearsal(const std::string &why)
{
    throw Failure(exitUsage, "cannot rehearse with the service's library: " + why);
}

// Next to swctl in a build tree, in libexec when installed.
std::string programPath()
{
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof(self) - 1);
    const std::string folder =
        length > 0 ? std::string(self, static_cast<size_t>(length)) : std::string();
    const std::string beside = folder.substr(0, folder.rfind('/') + 1);
    for (const std::string &path : {beside + program, beside + "../libexec/swmgr/" + program})
        if (access(path.c_str(), X_OK) == 0)
            return path;
    failRehearsal(std::string("there is no ") + program + " beside swctl or in its libexec folder");
}

void appendPiece(std::string &to, const Piece &piece)
{
    to.append(reinterpret_cast<const char *>(&piece), sizeof(piece));
}

std::vector<Event> eventsOf(std::string_view bytes)
{
    std::vector<Event> all;
    while (bytes.size() >= sizeof(Piece)) {
        Piece piece;
        memcpy(&piece, bytes.data(), sizeof(piece));
        bytes.remove_prefix(sizeof(piece));
        if (piece.length > bytes.size())
            break;
        all.push_back({piece.kind, piece.number, piece.extra, bytes.substr(0, piece.length)});
        bytes.remove_prefix(piece.length);
    }
    return all;
}

// Moves a descriptor above those that the rehearsal inherits, so that putting them in place
// closes none that is still needed.
int movedUp(int fd)
{
    constexpr int above = 10;
    const int moved = fcntl(fd, F_DUPFD_CLOEXEC, above);
    close(fd);
    return moved;
}

} // namespace

Script::Script(const Interfaces &interfaces, const std::vector<std::string> &devices)
{
    for (const auto &[name, address] : interfaces)
        add(Kind::interface, 0, 0, {reinterpret_cast<const char *>(address.data()), address.size()},
            name);
    for (const std::string &device : devices)
        add(Kind::device, 0, 0, device);
}

void Script::add(Kind kind, int32_t number, uint32_t extra, std::string_view data,
                 std::string_view more)
{
    appendPiece(pieces, {kind, number, extra, static_cast<uint32_t>(data.size() + more.size())});
    pieces.append(data).append(more);
}

Script &Script::image(std::string_view database)
{
    add(Kind::image, 0, 0, database);
    return *this;
}

Script &Script::start()
{
    add(Kind::start, 0, 0, {});
    return *this;
}

Script &Script::request(int type, std::string_view data, std::string_view buffer)
{
    add(Kind::request, type, static_cast<uint32_t>(buffer.size()), data, buffer);
    return *this;
}

MemoryFile::MemoryFile(const char *name) : fd(movedUp(memfd_create(name, MFD_CLOEXEC)))
{
    if (fd < 0)
        failRehearsal(strerror(errno));
}

MemoryFile::MemoryFile(MemoryFile &&other) noexcept
    : fd(std::exchange(other.fd, -1)), memory(std::exchange(other.memory, nullptr)),
      size(other.size)
{
}

MemoryFile::~MemoryFile()
{
    if (memory != nullptr)
        munmap(memory, size);
    if (fd >= 0)
        close(fd);
}

void MemoryFile::write(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t length = ::write(fd, bytes.data(), bytes.size());
        if (length <= 0)
            failRehearsal(strerror(errno));
        bytes.remove_prefix(static_cast<size_t>(length));
    }
}

std::string_view MemoryFile::view()
{
    struct stat about = {};
    if (memory == nullptr && fstat(fd, &about) == 0 && about.st_size > 0) {
        size = static_cast<size_t>(about.st_size);
        void *mapped = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
        memory = mapped != MAP_FAILED ? mapped : nullptr;
    }
    return memory != nullptr ? std::string_view(static_cast<const char *>(memory), size)
                             : std::string_view();
}

Rehearsal::Rehearsal(MemoryFile stateFile, MemoryFile eventFile)
    : stateMemory(std::move(stateFile)), eventMemory(std::move(eventFile)), held(nullptr)
{
    const std::string_view bytes = stateMemory.view();
    if (bytes.size() != sizeof(rehearsal::State))
        failRehearsal("it left no state");
    held = reinterpret_cast<const rehearsal::State *>(bytes.data());
    if (held->magic != rehearsal::stateMagic)
        failRehearsal("it ended prematurely");
    all = eventsOf(eventMemory.view());
}

std::vector<int> Rehearsal::answers() const
{
    std::vector<int> statuses;
    for (const Event &event : all)
        if (event.kind == Kind::answer)
            statuses.push_back(event.number);
    return statuses;
}

int Rehearsal::loadStatus() const
{
    for (const Event &event : all)
        if (event.kind == Kind::loaded)
            return event.number;
    return SWMGR_STATUS_FAILED; // it did not get that far
}

std::optional<StoppedAt> Rehearsal::stoppedAt() const
{
    std::vector<std::string> reasons;
    for (const Event &event : all) {
        if (event.kind == Kind::log && event.number == SWMGR_LOG_ERROR &&
            !event.data.starts_with("cmd ("))
            reasons.push_back(onOneLine(
                std::string(event.data.substr(0, event.data.find_last_not_of(" \n") + 1))));
        if (event.kind == Kind::row && event.number < 0)
            return StoppedAt{std::string(event.data), static_cast<int>(event.extra), event.number,
                             std::move(reasons)};
        if (event.kind == Kind::row)
            reasons.clear();
        if (event.kind == Kind::loaded)
            break;
    }
    return std::nullopt;
}

Chip Rehearsal::chip() const
{
    Chip chip;
    const chip::Model &model = held->chip;
    for (size_t id = 0; id < model.vlans.size(); ++id) {
        const ChipVlan vlan{model.vlans[id].fwdMap, model.vlans[id].untagMap};
        if (!vlan.empty())
            chip.vlans[static_cast<int>(id)] = vlan;
    }
    for (size_t port = 0; port < chip.ports.size(); ++port) {
        chip.ports[port].pvid = model.ports[port].pvid;
        chip.ports[port].priority = model.ports[port].priority;
        chip.ports[port].cfi = model.ports[port].cfi;
        chip.ports[port].forwardMap = model.ports[port].forwardMap;
    }
    return chip;
}

Kernel kernelOf(const engine::State &state)
{
    Kernel kernel;
    for (size_t id = 0; id < engine::vlanIdCount; ++id) {
        for (const engine::SubInterface &way : state.interfaces[id]) {
            if (way.present == 0)
                continue;
            SubInterface sub;
            sub.parent = std::string(way.parent, strnlen(way.parent, sizeof(way.parent)));
            sub.vlanId = static_cast<int>(id);
            sub.up = way.up != 0;
            std::copy(std::begin(way.ingress), std::end(way.ingress), sub.ingress.begin());
            std::copy(std::begin(way.egress), std::end(way.egress), sub.egress.begin());
            const std::string name = sub.parent + "." + std::to_string(id);
            kernel.interfaces[name] = std::move(sub);
        }
    }
    return kernel;
}

Kernel Rehearsal::kernel() const
{
    Kernel kernel = kernelOf(held->engine);
    for (size_t id = 0; id < held->uptimeFiles.size(); ++id)
        if (held->uptimeFiles.test(id))
            kernel.uptimeFiles.insert(static_cast<int>(id));
    return kernel;
}

RunningRehearsal::RunningRehearsal(const Script &wanted)
    : script("script"), state("state"), events("events")
{
    const std::string path = programPath();
    script.write(wanted.bytes());
    const int status = startProgram(path,
                                    {.words = {program},
                                     .passed = {{script.descriptor(), rehearsal::scriptFd},
                                                {state.descriptor(), rehearsal::stateFd},
                                                {events.descriptor(), rehearsal::eventsFd}}},
                                    pid);
    if (status != 0) {
        pid = -1;
        failRehearsal(path + ": " + strerror(status));
    }
}

RunningRehearsal::~RunningRehearsal()
{
    if (pid <= 0)
        return;
    kill(pid, SIGKILL);
    endOfProgram(pid);
}

Rehearsal RunningRehearsal::finish()
{
    const int status = endOfProgram(std::exchange(pid, -1));
    if (status < 0)
        failRehearsal(strerror(errno));
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        failRehearsal(WIFSIGNALED(status)
                          ? std::string("it was killed by signal ") + strsignal(WTERMSIG(status))
                          : "it failed");
    return Rehearsal(std::move(state), std::move(events));
}

Rehearsal rehearse(const Script &script)
{
    RunningRehearsal running(script);
    return running.finish();
}

std::string driverText(const Event &event)
{
    int64_t argument = 0;
    if (event.data.size() < sizeof(argument))
        return {};
    memcpy(&argument, event.data.data(), sizeof(argument));
    const std::string_view record = event.data.substr(sizeof(argument));
    return chip::requestText(event.extra, argument,
                             reinterpret_cast<const uint8_t *>(record.data()), record.size(),
                             event.number);
}

} // namespace swctl
