// The real machine behind the interface tools.
#include "devices/engine/host.h"

#include <linux/if.h>
#include <linux/if_vlan.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace engine {

namespace {

// One request on a temporary socket: 0 or errno.
int request(unsigned long number, void *argument)
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return errno;
    const int status = ioctl(fd, number, argument) < 0 ? errno : 0;
    close(fd);
    return status;
}

ifreq named(const char *name)
{
    ifreq about = {};
    strncpy(about.ifr_name, name, sizeof(about.ifr_name) - 1);
    return about;
}

bool interfaceExists(const char *name)
{
    ifreq about = named(name);
    return strlen(name) < sizeof(about.ifr_name) && request(SIOCGIFINDEX, &about) == 0;
}

bool kernelHasVlans()
{
    const char *wish = getenv("SWENGINE_VLAN");
    if (wish != nullptr && strcmp(wish, "simulated") == 0)
        return false;
    return access("/proc/net/vlan", F_OK) == 0;
}

int vlanRequest(vlan_ioctl_args &arguments)
{
    return request(SIOCSIFVLAN, &arguments);
}

int interfaceUpSet(const char *name, bool up)
{
    ifreq about = named(name);
    const int status = request(SIOCGIFFLAGS, &about);
    if (status != 0)
        return status;
    const int flags = up ? about.ifr_flags | IFF_UP : about.ifr_flags & ~IFF_UP;
    about.ifr_flags = static_cast<short>(flags);
    return request(SIOCSIFFLAGS, &about);
}

} // namespace

constinit const Host thisHost = {.interfaceExists = interfaceExists,
                                 .kernelHasVlans = kernelHasVlans,
                                 .vlanRequest = vlanRequest,
                                 .interfaceUpSet = interfaceUpSet};

} // namespace engine
