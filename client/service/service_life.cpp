#include "client/service/service_life.h"

#include "client/base/text.h"
#include "common/clock.h"
#include "common/descriptor.h"
#include "common/served_file.h"
#include "swmgr/swmgr_client.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace swctl {

std::optional<ServingProcess> servingProcess()
{
    const std::string path =
        std::string(relayDirectory()) + "/" + std::to_string(SWMGR_RELAY_MODULE_ID) + ".sock";
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        return std::nullopt;
    memcpy(address.sun_path, path.c_str(), path.size());
    const Descriptor asked(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    ucred peer = {};
    socklen_t length = sizeof(peer);
    if (!asked.valid() ||
        connect(asked.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0 ||
        getsockopt(asked.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0)
        return std::nullopt;
    return ServingProcess{peer.pid, peer.uid};
}

namespace {

// The line of /proc/PID/stat; empty if there is no such process.
std::string statusOf(pid_t pid)
{
    char line[1024] = ""; // long enough for every field
    const std::unique_ptr<FILE, int (*)(FILE *)> file(
        pid > 0 ? fopen(("/proc/" + std::to_string(pid) + "/stat").c_str(), "re") : nullptr,
        fclose);
    return file != nullptr && fgets(line, sizeof(line), file.get()) != nullptr ? line : "";
}

} // namespace

std::optional<int64_t> serviceStart()
{
    constexpr size_t startField = 19; // counted after the name, which may contain blanks
    const std::string line = statusOf(servingProcess().value_or(ServingProcess()).id);
    const std::vector<std::string> fields =
        wordsOf(line.substr(std::min(line.rfind(')'), line.size() - 1) + 1));
    if (fields.size() <= startField)
        return std::nullopt;
    const int64_t sinceBoot =
        strtoll(fields[startField].c_str(), nullptr, 10) * 1000 / sysconf(_SC_CLK_TCK);
    // The kernel reports whole ticks, rounded down.
    const int64_t tick = 1000 / sysconf(_SC_CLK_TCK);
    return millisecondsNow(CLOCK_REALTIME) - millisecondsNow(CLOCK_BOOTTIME) + sinceBoot + tick;
}

} // namespace swctl
