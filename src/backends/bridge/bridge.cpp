// Binds a switch to a bridge and dispatches the commands that have an equivalent in Linux.
#include "backends/bridge/bridge.h"

#include "backends/bridge/membership.h"
#include "backends/bridge/ports.h"
#include "backends/bridge/settings.h"
#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "model/vlan.h"
#include "platform/list_of.h"
#include "switch/command_table.h"
#include "switch/lower.h"

#include <cstring>

namespace {

constexpr uint32_t anyLength = BackendCommand::anyLength;

int membershipUpdateRun(Switch *sw, const void *payload)
{
    const auto *vlan = static_cast<const SwitchVlan *>(payload);
    return vlan != nullptr ? bridgeMembershipUpdate(*sw, *vlan) : statusInvalid;
}

int membershipSetRun(Switch *sw, const void *payload)
{
    if (payload != nullptr)
        return bridgeMembershipSet(*sw, *static_cast<const SwitchVlan *>(payload));
    for (const SwitchVlan &vlan : ListOf<SwitchVlan>(sw->vlanList)) {
        const int status = bridgeMembershipSet(*sw, vlan);
        if (status < 0)
            return status;
    }
    return 0;
}

// The VLAN of a port's untagged frames is set together with its membership, so the port only
// needs to join the bridge. If it cannot, setting the VLANs that it is a member of will fail.
int portConfigureRun(Switch *sw, const void *payload)
{
    for (const SwitchPort &port : ListOf<SwitchPort>(sw->portList))
        if (payload == nullptr || payload == &port)
            static_cast<void>(BridgePort(port, __func__));
    return 0;
}

// Joining on a port's first command. A bridge cannot take the priority from a field of the
// frame.
int trustModeRun(Switch *sw, const void *payload)
{
    if (payload == nullptr)
        return statusFailed;
    SwCmdTrustMode mode;
    memcpy(&mode, payload, sizeof(mode));
    LOG_INFO(switchStrGet(sw), "Linux has no counterpart for command (%d)\n", SW_CMD_TRUST_MODE);
    for (const SwitchPort &port : ListOf<SwitchPort>(sw->portList))
        if (port.portNumber == mode.portNumber)
            return BridgePort(port, __func__).status();
    return 0;
}

constexpr BackendCommand commands[] = {
    {SW_CMD_VLAN_ENABLE, anyLength, "Processing vlan filtering request (%d)\n", bridgeVlanEnable},
    {SW_CMD_VLAN_MEMBERSHIP_UPDATE, switchVlanRecordLength,
     "Processing vlan membership update request (%d)\n", membershipUpdateRun},
    {SW_CMD_VLAN_MEMBERSHIP_SET, switchVlanRecordLength,
     "Processing vlan membership apply request (%d)\n", membershipSetRun},
    {SW_CMD_PORT_CONFIG_SET, switchPortRecordLength,
     "Processing switch port configuration set request (%d)\n", portConfigureRun},
    {SW_CMD_QUEUE_SCHED, anyLength, "Processing queue scheduling request (%d)\n", bridgeQueueSched},
    {SW_CMD_PAUSE_FRAME, anyLength, "Processing pause frames configure request (%d)\n",
     bridgePauseFrame},
    {SW_CMD_RATE_LIMIT, anyLength, "Processing switch port rate limiting request (%d)\n",
     bridgeRateLimit},
    {SW_CMD_TRUST_MODE, sizeof(SwCmdTrustMode),
     "Processing switch port trust mode configuration request (%d)\n", trustModeRun},
    {SW_CMD_IGMP_SNOOP, anyLength, "Processing IGMP snooping request (%d)\n", bridgeIgmpSnooping},
    {SW_CMD_MLD_SNOOP, anyLength, "Processing MLD snooping request (%d)\n", bridgeMldSnooping},
};

static_assert(codesAreUnique(commands));

bool isBridge(const Switch *sw)
{
    return sw != nullptr && strcmp(sw->switchName, "BRIDGE") == 0;
}

// A command that fails here is not passed on. Otherwise, if there are switches below and
// forwarding is on, their result is returned.
int bridgeConfig(Switch *sw, int cmd, const void *payload, uint32_t payloadLen, void *replyBuf,
                 uint32_t *replyLen)
{
    const BackendCommand *command = commandOf(commands, cmd);
    int status = 0;
    if (command != nullptr) {
        LOG_INFO(switchStrGet(sw), command->message, cmd);
        if (!command->accepts(payloadLen))
            return statusInvalid;
        status = command->run(sw, payload);
    } else {
        LOG_INFO(switchStrGet(sw), "Linux has no counterpart for command (%d)\n", cmd);
    }
    if (sw->lowerLvlCfgEnable == 0 || status < 0 ||
        salListFirst(&sw->lowerLvlSwitchList) == nullptr)
        return status;
    return switchLowerConfig(*sw, {cmd, payload, payloadLen, replyBuf, replyLen}, __func__);
}

int bridgeTransfer(Switch *sw, Switch *lower, int cmd, const void *payload, uint32_t payloadLen,
                   void *replyBuf, uint32_t *replyLen)
{
    return switchLowerTransfer(*sw, *lower, {cmd, payload, payloadLen, replyBuf, replyLen},
                               __func__);
}

} // namespace

int bridgeRegister(Switch *sw)
{
    if (!isBridge(sw))
        return statusInvalid;
    const int status = bridgeBegin(*sw, __func__);
    if (status < 0)
        return status;
    sw->configFunc = bridgeConfig;
    sw->confTransferFunc = bridgeTransfer;
    return 0;
}

int bridgeUnRegister(Switch *sw)
{
    if (!isBridge(sw))
        return statusInvalid;
    sw->configFunc = nullptr;
    sw->confTransferFunc = nullptr;
    return 0;
}
