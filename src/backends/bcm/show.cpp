// Prints what the driver reports about VLANs and tags.
#include "backends/bcm/show.h"

#include "backends/bcm/device.h"
#include "backends/bcm/vlan.h"

#include <cstdio>

namespace {

void mapPrint(const char *title, int (*query)(uint16_t port, uint16_t vlanId), uint16_t vlanId)
{
    printf("\t%s map: \t", title);
    for (uint16_t port = 0; port < bcmPortCount; ++port) {
        const int member = query(port, vlanId);
        if (member == 1)
            printf("%u ", port);
        else if (member < 0)
            printf("%u? ", port);
    }
    printf("\n");
}

} // namespace

extern "C" int bcmVlanShow(void *, uint16_t vlanId)
{
    printf("802.1Q VLAN\n");
    printf("-----------\n");
    printf("Vlan ID %u\n", vlanId);
    mapPrint("Forward", bcmIsPortInVlanFwdMap, vlanId);
    mapPrint("Untag", bcmIsPortInVlanUntagMap, vlanId);
    return -1;
}

extern "C" int bcmTagsShow(void)
{
    printf("802.1Q tags\n");
    printf("-----------\n");
    printf("PORT\tVID\tPRI\tCFI\n");
    int status = 0;
    for (uint16_t port = 0; port < bcmPortCount; ++port) {
        BcmPortTagRecord record{};
        record.port = port;
        status = driverRequest(BCM_IOC_DEFAULT_TAG_GET, record);
        if (status < 0)
            printf("%u\t ?\t?\t?", port);
        else
            printf("%u \t%u \t%u \t%u\n", port, record.vid, record.priority, record.cfi);
    }
    printf("\n");
    return status < 0 ? -1 : 0;
}
