// Creates the bridge, adds its ports, and keeps track of their settings.
#include "backends/bridge/ports.h"

#include "backends/bridge/lines.h"
#include "base/labels.h"
#include "base/log.h"
#include "model/port_mask.h"
#include "model/status.h"
#include "platform/sal.h"
#include "platform/text.h"

#include <cstring>
#include <fcntl.h>

namespace {

// Set by bridgeBegin, and updated along with the kernel.
constinit char bridge[16] = {};
constinit uint32_t joined = 0; // ports
constinit HeldVlan held[highestVlan + 1] = {};

// Whether an interface is a bridge with VLAN filtering.
bool isBridge(const char *interface)
{
    char path[96];
    textFormat(path, "/sys/class/net/%s/bridge/vlan_filtering", interface);
    const int descriptor = salOpen(path, O_RDONLY, /*mode=*/0);
    if (descriptor < 0)
        return false;
    static_cast<void>(salClose(descriptor));
    return true;
}

} // namespace

int bridgeBegin(const Switch &sw, const char *func)
{
    if (!linkNameIsGood(sw.switchDevice)) {
        LOG_AT(SWMGR_LOG_ERROR, switchStrGet(&sw), func, __LINE__,
               "Its device is no name of a bridge\n");
        return statusInvalid;
    }
    textCopy(bridge, sw.switchDevice);
    joined = 0;
    const bool found = isBridge(bridge);
    for (HeldVlan &vlan : held)
        vlan = {0, 0, false, !found};
    if (!found && bridgeMake(bridge, func) < 0) {
        LOG_AT(SWMGR_LOG_ERROR, switchStrGet(&sw), func, __LINE__, "Failed to make bridge %s\n",
               bridge);
        return statusFailed;
    }
    return linkUp(bridge, func);
}

const char *bridgeName()
{
    return bridge;
}

HeldVlan &heldVlan(int32_t vlanId)
{
    return held[vlanId];
}

BridgePort::BridgePort(const SwitchPort &port, const char *func) : text(), outcome(0)
{
    memcpy(text, port.interfaceName, strnlen(port.interfaceName, sizeof(port.interfaceName)));
    const uint32_t bit = portBit(port.portNumber);
    if (bit == 0 || !linkNameIsGood(text)) {
        LOG_AT(SWMGR_LOG_ERROR, swPortStrGet(&port), func, __LINE__,
               "The port has no interface that can join a bridge\n");
        // No command line is possible with this name, so the result is that of a failed tool.
        outcome = bit == 0 ? statusInvalid : statusFailed;
        return;
    }
    if ((joined & bit) != 0)
        return;
    outcome = portJoin(text, bridge, func);
    if (outcome == 0)
        outcome = linkUp(text, func);
    if (outcome == 0)
        joined |= bit;
    else
        LOG_AT(SWMGR_LOG_ERROR, swPortStrGet(&port), func, __LINE__, "Failed to join bridge %s\n",
               bridge);
}
