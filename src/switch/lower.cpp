// Passes commands down the hierarchy and translates port numbers.
#include "switch/lower.h"

#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "platform/list_of.h"
#include "switch/command.h"
#include "switch/registry.h"

#include <cstring>

namespace {

// A command on its way to one lower switch, with the reply arguments of the original.
struct Transfer {
    Switch &sw;
    Switch &lower;
    int cmd;
    void *replyBuf;
    uint32_t *replyLen;
    const char *func; // operation to log under

    [[nodiscard]] int send(const void *payload, uint32_t payloadLen) const
    {
        const int status = switchCommandSend(lower, cmd, payload, payloadLen, replyBuf, replyLen);
        if (status < 0)
            LOG_AT(SWMGR_LOG_ERROR, switchStrGet(&sw), func, __LINE__,
                   "Failed to process cmd (%d) in lower switch %s\n", cmd, lower.switchName);
        return status;
    }

    // Every mapped port gets the limit, whichever switch it belongs to.
    [[nodiscard]] int rateLimitSend(const SwCmdRateLimit &limit) const
    {
        const auto number = static_cast<int>(limit.portNumber);
        SwitchPort *port = switchPortByNumberGet(&sw, number);
        if (port == nullptr) {
            LOG_AT(SWMGR_LOG_ERROR, switchStrGet(&sw), func, __LINE__,
                   "Failed to find port (%d).\n", number);
            return statusFailed;
        }
        int status = statusFailed;
        for (const SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(port->mappedList)) {
            SwCmdRateLimit translated{};
            translated.portNumber = static_cast<uint32_t>(node.mapped->portNumber);
            translated.limitCmd = limit.limitCmd;
            translated.rateLimit = limit.rateLimit;
            status = send(&translated, sizeof(translated));
            if (status < 0)
                return status;
        }
        return status;
    }
};

} // namespace

int switchLowerConfig(Switch &sw, const SwitchLowerCommand &command, const char *func)
{
    const int cmd = command.cmd;
    LOG_AT(SWMGR_LOG_INFO, switchStrGet(&sw), func, __LINE__,
           "Sending command=(%d) to lower switches\n", cmd);
    int status = statusFailed;
    for (const SwitchLowerLvlNode &node : ListOf<SwitchLowerLvlNode>(sw.lowerLvlSwitchList)) {
        if (sw.confTransferFunc == nullptr)
            continue;
        status = sw.confTransferFunc(&sw, node.lower, cmd, command.payload, command.payloadLen,
                                     command.replyBuf, command.replyLen);
        if (status < 0)
            return status;
    }
    LOG_AT(SWMGR_LOG_INFO, switchStrGet(&sw), func, __LINE__,
           "Lower switches processed command=(%d). Result=%s\n", cmd,
           status == 0 ? "Success" : "Failed");
    return 0;
}

int switchLowerTransfer(Switch &sw, Switch &lower, const SwitchLowerCommand &command,
                        const char *func)
{
    const Transfer transfer{sw, lower, command.cmd, command.replyBuf, command.replyLen, func};
    if (command.cmd != SW_CMD_RATE_LIMIT)
        return transfer.send(command.payload, command.payloadLen);
    if (command.payload == nullptr)
        return statusFailed;
    SwCmdRateLimit limit;
    memcpy(&limit, command.payload, sizeof(limit));
    return transfer.rateLimitSend(limit);
}
