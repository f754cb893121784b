// Queries the kernel through a socket, like ifconfig.
#include "backends/pse/mac_address.h"

#include "model/status.h"
#include "platform/releaser.h"

#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

extern "C" int switchMacAddressByIfNameGet(const char *ifName, char *macText)
{
    if (ifName == nullptr || macText == nullptr)
        return statusFailed;
    ifreq request{};
    memcpy(request.ifr_name, ifName, strnlen(ifName, sizeof(request.ifr_name) - 1));
    {
        const SalDescriptor descriptor(socket(AF_INET, SOCK_DGRAM, 0));
        if (descriptor.get() < 0 || salIoctl(descriptor.get(), SIOCGIFHWADDR, &request) < 0)
            return statusFailed;
    }
    unsigned char mac[6];
    memcpy(mac, request.ifr_hwaddr.sa_data, sizeof(mac));
    static_cast<void>(snprintf(macText, macTextSize, "%.2x:%.2x:%.2x:%.2x:%.2x:%.2x", mac[0],
                               mac[1], mac[2], mac[3], mac[4], mac[5]));
    return 0;
}
