// Derives port settings from the switch's VLANs and writes them.
#include "backends/bcm/ports.h"

#include "backends/bcm/device.h"
#include "base/labels.h"
#include "base/log.h"
#include "model/port_mask.h"
#include "model/status.h"
#include "model/vlan.h"
#include "platform/list_of.h"

namespace {

uint32_t portsOf(Switch &sw)
{
    uint32_t ports = 0;
    for (const SwitchPort &port : ListOf<SwitchPort>(sw.portList))
        ports |= portBit(port.portNumber);
    return ports;
}

// Sets each port's PVID to the last VLAN in the list that sends the port untagged; a port
// without one keeps its PVID. Returns the ports that are untagged in any VLAN.
uint32_t pvidsDerive(Switch &sw, const char *func)
{
    const uint32_t ports = portsOf(sw);
    uint32_t untagged = 0;
    for (const SwitchVlan &vlan : ListOf<SwitchVlan>(sw.vlanList)) {
        // Most VLANs have no untagged port; for them, only developer messages would be left to
        // do.
        if ((vlan.untagMap & ports) == 0 && swMgrDevDebug == 0)
            continue;
        for (SwitchPort &port : ListOf<SwitchPort>(sw.portList)) {
            if ((vlan.untagMap & portBit(port.portNumber)) != 0) {
                LOG_AT(SWMGR_LOG_NONE, noLabel, func, __LINE__, "Updating PVID of port %d to %d\n",
                       static_cast<int>(port.portIndex), vlan.vlanId);
                port.PVID = vlan.vlanId;
                untagged |= portBit(port.portNumber);
            }
            LOG_AT(SWMGR_LOG_NONE, noLabel, func, __LINE__,
                   "After port (%d) iteration non8021qFramesStatus is %d \n", port.portNumber,
                   static_cast<int>(untagged));
        }
        LOG_AT(SWMGR_LOG_NONE, noLabel, func, __LINE__,
               "After vlan iteration (%d) map (%d:%d) non8021qFramesStatus is %d \n", vlan.vlanId,
               static_cast<int>(vlan.fwdMap), static_cast<int>(vlan.untagMap),
               static_cast<int>(untagged));
    }
    LOG_AT(SWMGR_LOG_NONE, noLabel, func, __LINE__, "New non8021qFramesStatus is %d \n",
           static_cast<int>(untagged));
    return untagged;
}

int portWrite(const SwitchPort &port, const char *func)
{
    const auto number = static_cast<uint16_t>(port.portNumber);
    int status = bcmSwitchPortPVIDSet(number, static_cast<uint16_t>(port.PVID));
    if (status < 0) {
        LOG_AT(SWMGR_LOG_ERROR, swPortStrGet(&port), func, __LINE__,
               "Failed to set PVID for port %d\n", port.portNumber);
        return status;
    }
    status = bcmNon8021qFramesStateChange(number, static_cast<uint32_t>(port.non8021qFramesStatus));
    if (status < 0) {
        LOG_AT(SWMGR_LOG_ERROR, swPortStrGet(&port), func, __LINE__,
               "Failed to set Non-8021q Frame status for port %d\n", port.portNumber);
        return status;
    }
    return 0;
}

} // namespace

extern "C" int bcmSwitchPortConfigure(Switch *sw, const SwitchPort *port)
{
    if (sw == nullptr)
        return statusInvalid;
    const uint32_t untagged = pvidsDerive(*sw, __func__);
    for (SwitchPort &listed : ListOf<SwitchPort>(sw->portList)) {
        if (port != nullptr && port != &listed)
            continue;
        listed.non8021qFramesStatus = (untagged & portBit(listed.portNumber)) == 0 ? 1 : 0;
        const int status = portWrite(listed, __func__);
        if (status < 0)
            return status;
    }
    return 0;
}

extern "C" int bcmSwitchPortPVIDSet(uint16_t port, uint16_t vid)
{
    BcmPortTagRecord record{};
    record.port = port;
    record.vid = vid;
    const int status = driverRequest(BCM_IOC_DEFAULT_TAG_SET, record);
    if (status < 0) {
        LOG_ERROR(noLabel, "setting 802.1Q default tag for [%u %u\n] failed. \n", port, vid);
        return status;
    }
    return 0;
}

extern "C" int bcmNon8021qFramesStateChange(uint16_t port, uint32_t state)
{
    LOG_INFO(noLabel, "Configuring non8021qFramesStatus to (%d) for port (%d) \n",
             static_cast<int>(state), port);
    BcmNon8021qRecord record{};
    record.port = port;
    record.state = state;
    const int status = driverRequest(BCM_IOC_NON8021Q_FRAMES_SET, record);
    if (status < 0)
        LOG_ERROR(noLabel, "setting non8021q configuration for #%u failed\n", port);
    return status;
}
