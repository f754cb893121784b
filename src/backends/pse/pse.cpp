// Binds a switch to the engine and dispatches its commands.
#include "backends/pse/pse.h"

#include "backends/pse/lower.h"
#include "backends/pse/membership.h"
#include "backends/pse/settings.h"
#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "switch/command_table.h"

#include <cstring>

namespace {

constexpr uint32_t anyLength = BackendCommand::anyLength;

int membershipSetRun(Switch *sw, const void *payload)
{
    return pseVlanMembershipSet(sw, static_cast<const SwitchVlan *>(payload));
}

constexpr BackendCommand commands[] = {
    {SW_CMD_VLAN_MEMBERSHIP_SET, switchVlanRecordLength,
     "Processing vlan membership configure request (%d)\n", membershipSetRun},
    {SW_CMD_QOS_ENABLE, anyLength, "Processing QoS Configuration request (%d)\n", pseQoSConfigure},
    {SW_CMD_QUEUE_SCHED, anyLength, "Processing queue scheduling request (%d)\n",
     pseQueueSchedConfigure},
    {SW_CMD_PAUSE_FRAME, anyLength, "Processing  pause frames configure request (%d)\n",
     psePauseFrameConfigure},
    {SW_CMD_RATE_LIMIT, anyLength, "Processing  switch port rate limiting request (%d)\n",
     pseRateLimitConfigure},
    {SW_CMD_TRUST_MODE, sizeof(SwCmdTrustMode),
     "Processing  switch port trust mode configuration request (%d)\n", pseTrustModeConfigure},
};

static_assert(codesAreUnique(commands));

bool isEngine(const Switch *sw)
{
    return sw != nullptr && strcmp(sw->switchName, "PSE") == 0;
}

} // namespace

extern "C" int pseSwitchRegister(Switch *sw)
{
    if (!isEngine(sw))
        return statusInvalid;
    sw->configFunc = pseSwitchConfig;
    sw->confTransferFunc = pseConfTransfer;
    return 0;
}

extern "C" int pseSwitchUnRegister(Switch *sw)
{
    if (!isEngine(sw))
        return statusInvalid;
    sw->configFunc = nullptr;
    sw->confTransferFunc = nullptr;
    return 0;
}

extern "C" int pseSwitchConfig(Switch *sw, int cmd, const void *payload, uint32_t payloadLen,
                               void *replyBuf, uint32_t *replyLen)
{
    if (sw == nullptr)
        return statusInvalid;
    const BackendCommand *command = commandOf(commands, cmd);
    int status = 0;
    if (command != nullptr) {
        LOG_INFO(switchStrGet(sw), command->message, cmd);
        if (!command->accepts(payloadLen))
            return statusInvalid;
        status = command->run(sw, payload);
    }
    // The sender gets the result of the switches below; a failure of the engine's own tool has
    // been logged.
    if (sw->lowerLvlCfgEnable != 0)
        return pseLowerSwitchConfig(sw, cmd, payload, payloadLen, replyBuf, replyLen);
    if (command == nullptr)
        LOG_INFO(switchStrGet(sw), "handler not defined for command (%d)\n", cmd);
    return status;
}
