#include "client/service/service_life.h"

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
#include <fstream>
#include <sstream>
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

std::optional<int64_t> serviceStart()
{
    constexpr int startField = 20; // among those behind the name, which may hold blanks
    const pid_t pid = servingProcess().value_or(ServingProcess()).id;
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (pid <= 0 || !std::getline(file, line) || line.rfind(')') == std::string::npos)
        return std::nullopt;
    std::istringstream fields(line.substr(line.rfind(')') + 1));
    std::string field;
    for (int i = 0; i < startField; ++i)
        fields >> field;
    const int64_t sinceBoot = strtoll(field.c_str(), nullptr, 10) * 1000 / sysconf(_SC_CLK_TCK);
    // The kernel tells it in whole ticks, rounded down.
    const int64_t tick = 1000 / sysconf(_SC_CLK_TCK);
    return millisecondsNow(CLOCK_REALTIME) - millisecondsNow(CLOCK_BOOTTIME) + sinceBoot + tick;
}

} // namespace swctl
