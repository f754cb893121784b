// Binds a switch to the chip and dispatches the commands that the chip supports.
#include "backends/bcm/bcm.h"

#include "backends/bcm/device.h"
#include "backends/bcm/ports.h"
#include "backends/bcm/vlan.h"
#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "switch/command_table.h"
#include "switch/payload.h"

#include <cstring>

namespace {

int vlanEnableRun(Switch *, const void *payload)
{
    return payload != nullptr ? bcmVlanEnable(recordOf<int32_t>(payload)) : statusInvalid;
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

constexpr BackendCommand commands[] = {
    {SW_CMD_VLAN_ENABLE, commandAreaLength, "Processing vlan enable update request (%d)\n",
     vlanEnableRun},
    {SW_CMD_VLAN_MEMBERSHIP_UPDATE, switchVlanRecordLength,
     "Processing vlan membership update request (%d)\n", membershipUpdateRun},
    {SW_CMD_VLAN_MEMBERSHIP_SET, switchVlanRecordLength,
     "Processing vlan membership apply request (%d)\n", membershipSetRun},
    {SW_CMD_PORT_CONFIG_SET, switchPortRecordLength,
     "Processing switch port configuration set request (%d)\n", portConfigureRun},
};

static_assert(codesAreUnique(commands));

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
    if (chipOpen(sw->switchDevice) < 0) {
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
    chipClose();
    return 0;
}

extern "C" int bcmSwitchConfig(Switch *sw, int cmd, const void *payload, uint32_t payloadLen,
                               void *, uint32_t *)
{
    const BackendCommand *command = commandOf(commands, cmd);
    if (command == nullptr) {
        LOG_ERROR(switchStrGet(sw), "Invalid command (%d)\n", cmd);
        LOG_ERROR(switchStrGet(sw), "(%d) processing returned %d \n", cmd, 0);
        return 0;
    }
    LOG_INFO(switchStrGet(sw), command->message, cmd);
    if (!command->accepts(payloadLen)) {
        LOG_ERROR(switchStrGet(sw), "(%d) processing returned %d \n", cmd, statusInvalid);
        return statusInvalid;
    }
    return command->run(sw, payload);
}
