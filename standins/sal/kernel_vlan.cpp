#include "standins/sal/kernel_vlan.h"

#include "platform/sal.h"
#include "standins/sal/kernel_words.h"

#include <cerrno>
#include <cstdlib>
#include <linux/if_vlan.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

constexpr int toolFailed = 1; // exit status of either tool
constexpr unsigned vlanIds = 4096;
constexpr unsigned tagPriorities = 8;
constexpr unsigned anyNumber = 1u << 28; // ten times this still fits

struct Operation {
    const char *name; // second word
    size_t count;     // of words
    int request;      // of SIOCSIFVLAN
};

constexpr Operation operations[] = {
    {"add", 4, ADD_VLAN_CMD},
    {"rem", 3, DEL_VLAN_CMD},
    {"set_ingress_map", 5, SET_VLAN_INGRESS_PRIORITY_CMD},
    {"set_egress_map", 5, SET_VLAN_EGRESS_PRIORITY_CMD},
};

// The socket for requests, opened by the first one and kept, since a startup with many
// VLANs has twenty for each.
constinit int kernel = -1;

bool kernelSocket()
{
    if (kernel < 0)
        kernel = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return kernel >= 0;
}

bool vlanRequestRead(char *const words[], const Operation &operation, vlan_ioctl_args &request)
{
    request.cmd = operation.request;
    if (!nameCopy(request.device1, words[2]))
        return false;
    unsigned number = 0;
    unsigned priority = 0;
    switch (operation.request) {
    case DEL_VLAN_CMD:
        return true;
    case ADD_VLAN_CMD:
        if (!numberRead(words[3], vlanIds, number))
            return false;
        request.u.VID = static_cast<int>(number);
        return true;
    default:
        if (!numberRead(words[3], anyNumber, number) ||
            !numberRead(words[4], tagPriorities, priority))
            return false;
        request.u.skb_priority = number;
        request.vlan_qos = static_cast<short>(priority);
        return true;
    }
}

bool vconfigRun(char *const words[], const Operation &operation, int &status)
{
    vlan_ioctl_args request = {};
    if (!kernelSocket() || !vlanRequestRead(words, operation, request))
        return false;
    status = 0;
    if (ioctl(kernel, SIOCSIFVLAN, &request) >= 0)
        return true;
    // No VLANs in this kernel, or not yet: the tool may know a way.
    if (errno == ENOPKG || errno == ENOTTY || errno == EOPNOTSUPP)
        return false;
    salFilePrintf(stderr, "vconfig: ioctl error for %s: %s\n", words[1], strerror(errno));
    status = toolFailed;
    return true;
}

bool interfaceUp(const char *name, int &status)
{
    ifreq request = {};
    if (!kernelSocket() || !nameCopy(request.ifr_name, name))
        return false;
    const char *step = "SIOCGIFFLAGS";
    int result = ioctl(kernel, SIOCGIFFLAGS, &request);
    if (result >= 0) {
        step = "SIOCSIFFLAGS";
        request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP | IFF_RUNNING);
        result = ioctl(kernel, SIOCSIFFLAGS, &request);
    }
    status = result >= 0 ? 0 : toolFailed;
    if (result < 0)
        salFilePrintf(stderr, "ifconfig: %s: %s\n", step, strerror(errno));
    return true;
}

} // namespace

bool kernelVlanWanted()
{
    const char *way = getenv("SAL_VLAN");
    return way != nullptr && strcmp(way, "kernel") == 0;
}

bool kernelVlanRun(char *const words[], size_t count, int &status)
{
    if (count == 3 && isTool(words[0], "ifconfig") && strcmp(words[2], "up") == 0)
        return interfaceUp(words[1], status);
    if (count < 2 || !isTool(words[0], "vconfig"))
        return false;
    for (const Operation &operation : operations)
        if (count == operation.count && strcmp(words[1], operation.name) == 0)
            return vconfigRun(words, operation, status);
    return false;
}
