// Binds the chip to its switch and dispatches the commands it understands.
#include "backends/bcm/bcm.h"

#include "backends/bcm/ports.h"
#include "backends/bcm/vlan.h"
#include "service/labels.h"
#include "service/log.h"
#include "service/zone.h"
#include "switch/records.h"

#include <cstring>
#include <fcntl.h>

constinit int32_t fd = 0; // written by bcmSwitchRegister; 0 while nothing was opened

namespace {

constexpr int cpuPortLan = 4;
constexpr int cpuPortOther = 0;

int vlanEnableRun(Switch *, const void *payload)
{
    int32_t state = 0;
    if (payload == nullptr)
        return statusInvalid;
    memcpy(&state, payload, sizeof(state));
    return bcmVlanEnable(state);
}

int membershipUpdateRun(Switch *sw, const void *payload)
{
    return bcmVlanMembershipUpdate(sw, static_cast<const SwitchVlan *>(payload));
}

int membershipSetRun(Switch *sw, const void *payload)
{
    return bcmVlanMembershipSet(sw, static_cast<const SwitchVlan *>(payload));
}

int portConfigureRun(Switch *sw, const void *payload)
{
    return bcmSwitchPortConfigure(sw, static_cast<const SwitchPort *>(payload));
}

struct Command {
    int code;
    uint32_t length;     // the exact length a sender declares
    const char *message; // takes one %d, the code
    int (*run)(Switch *sw, const void *payload);
};

constexpr Command commands[] = {
    {SW_CMD_VLAN_ENABLE, commandAreaLength, "Processing vlan enable update request (%d)\n",
     vlanEnableRun},
    {SW_CMD_VLAN_MEMBERSHIP_UPDATE, switchVlanRecordLength,
     "Processing vlan membership update request (%d)\n", membershipUpdateRun},
    {SW_CMD_VLAN_MEMBERSHIP_SET, switchVlanRecordLength,
     "Processing vlan membership apply request (%d)\n", membershipSetRun},
    {SW_CMD_PORT_CONFIG_SET, switchPortRecordLength,
     "Processing switch port configuration set request (%d)\n", portConfigureRun},
};

const Command *commandOf(int code)
{
    for (const Command &command : commands) {
        if (command.code == code)
            return &command;
    }
    return nullptr;
}

bool isChip(const Switch *sw)
{
    return sw != nullptr && strcmp(sw->switchName, "BCM") == 0;
}

} // namespace

extern "C" int bcmSwitchRegister(Switch *sw)
{
    if (!isChip(sw))
        return statusInvalid;
    sw->configFunc = bcmSwitchConfig;
    fd = salOpen(sw->switchDevice, O_RDWR, /*mode=*/0);
    if (fd < 0) {
        LOG_ERROR(switchStrGet(sw), "Failed to open the device %s \n", sw->switchDevice);
        return statusInvalid;
    }
    return 0;
}

extern "C" int bcmSwitchUnRegister(Switch *sw)
{
    if (!isChip(sw))
        return statusInvalid;
    sw->configFunc = nullptr;
    if (fd > 0)
        static_cast<void>(salClose(fd)); // the descriptor is gone either way
    return 0;
}

extern "C" int bcmSwitchConfig(Switch *sw, int cmd, const void *payload, uint32_t payloadLen,
                               void *, uint32_t *)
{
    const Command *command = commandOf(cmd);
    if (command == nullptr) {
        LOG_ERROR(switchStrGet(sw), "Invalid command (%d)\n", cmd);
        LOG_ERROR(switchStrGet(sw), "(%d) processing returned %d \n", cmd, 0);
        return 0;
    }
    LOG_INFO(switchStrGet(sw), command->message, cmd);
    if (payloadLen != command->length) {
        LOG_ERROR(switchStrGet(sw), "(%d) processing returned %d \n", cmd, statusInvalid);
        return statusInvalid;
    }
    return command->run(sw, payload);
}

extern "C" int bcmCPUPortNumberGet(const SwitchVlan *vlan)
{
    int32_t zone = zoneOther;
    if (vlan != nullptr)
        static_cast<void>(swMgrZoneTypeGet(vlan->interfaceName, &zone)); // never fails
    return zone == zoneLan ? cpuPortLan : cpuPortOther;
}
