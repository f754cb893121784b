// Manages sub-interfaces with vconfig and ifconfig. Keeps no state.
#include "vlan/encap.h"

#include "base/log.h"
#include "base/tool.h"
#include "platform/sal.h"
#include "platform/text.h"
#include "vlan/uptime.h"

namespace {

constexpr int priorities = 8;
constexpr size_t nameSize = 64; // of a sub-interface name, or of the path of an uptime record

using Name = char[nameSize];

void uptimePath(Name &path, int32_t vlanId)
{
    textFormat(path, "/var/VLAN.%d.Uptime", vlanId);
}

} // namespace

extern "C" int switchVlanEncapDestroy(const char *interfaceName, int32_t vlanId)
{
    const int status = TOOL_RUN_ON(interfaceName, "vconfig rem %s.%d", interfaceName, vlanId);
    Name path;
    uptimePath(path, vlanId);
    static_cast<void>(salUnlink(path)); // there may be none
    return status;
}

extern "C" int switchVlanEncapCreate(const char *interfaceName, int32_t vlanId)
{
    // Remove anything left by an earlier run.
    static_cast<void>(switchVlanEncapDestroy(interfaceName, vlanId));
    int status = TOOL_RUN_ON(interfaceName, "vconfig add %s %d", interfaceName, vlanId);
    if (status != 0)
        return status;
    static_cast<void>(TOOL_RUN_ON(interfaceName, "ifconfig %s.%d up", interfaceName, vlanId));
    Name path;
    uptimePath(path, vlanId);
    static_cast<void>(timeEventRecord(path));

    Name subInterface;
    textFormat(subInterface, "%s.%d", interfaceName, vlanId);
    for (int32_t priority = 0; priority < priorities; ++priority) {
        static_cast<void>(switchVlanEncapIngressCoSMapConfig(subInterface, priority));
        status = switchVlanEncapEgressCoSMapConfig(subInterface, priority);
    }
    if (status < 0)
        LOG_ERROR(noLabel, "Failed to update QoS Mapping for VLAN %s\n", subInterface);
    return status;
}

extern "C" int switchVlanEncapIngressCoSMapConfig(const char *subInterface, int32_t priority)
{
    return TOOL_RUN_ON(subInterface, "/sbin/vconfig set_ingress_map %s %d %d", subInterface,
                       priority, priority);
}

extern "C" int switchVlanEncapEgressCoSMapConfig(const char *subInterface, int32_t priority)
{
    return TOOL_RUN_ON(subInterface, "/sbin/vconfig set_egress_map %s %d %d", subInterface,
                       priority, priority);
}
