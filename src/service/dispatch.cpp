// Routes each message by its type. Messages may be short, unterminated or hostile, so lengths
// are checked here, and records are copied out of the sender's buffer before they are used.
#include "service/dispatch.h"

#include "base/log.h"
#include "config/vlan_config.h"
#include "model/command.h"
#include "model/status.h"
#include "platform/text.h"
#include "service/interface_event.h"
#include "store/event.h"
#include "switch/registry.h"

namespace {

// A request as relayListen delivers it.
struct Request {
    int type;
    void *data;
    int length;         // of data
    void *replyBuf;     // or null
    uint32_t *replyLen; // or null

    [[nodiscard]] bool isExactly(size_t size) const
    {
        return data != nullptr && length >= 0 && static_cast<size_t>(length) == size;
    }
    [[nodiscard]] bool isAtLeast(size_t size) const
    {
        return data != nullptr && length >= 0 && static_cast<size_t>(length) >= size;
    }
    [[nodiscard]] uint32_t replyLength() const
    {
        return replyBuf != nullptr && replyLen != nullptr ? *replyLen : 0;
    }
};

// The sender only sees failures; every success is reported as 0.
int answer(int status)
{
    return status < 0 ? status : 0;
}

int vlanRequest(const Request &request, const char *func)
{
    Switch *top = switchAtTopLevelGet();
    if (top == nullptr)
        return statusInvalid;
    if (!request.isAtLeast(sizeof(SwMgrVlanRequest))) {
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__, "short VLAN request (%d): %d bytes\n",
               request.type, request.length);
        return statusInvalid;
    }
    SwMgrVlanRequest copy;
    memcpy(&copy, request.data, sizeof(copy));
    textTerminate(copy.vlan.vlanName);
    textTerminate(copy.vlan.interfaceName);
    textTerminate(copy.vlan.LogicalIfName);
    textTerminate(copy.vlan.ingressMap);
    textTerminate(copy.vlan.egressMap);
    const int status = switchVlanConfigure(top, request.type, &copy.vlan);
    // Return the index that the service has assigned in the sender's record.
    memcpy(static_cast<char *>(request.data) + offsetof(SwMgrVlanRequest, vlan) +
               offsetof(SwitchVlanCfg, vlanIndex),
           &copy.vlan.vlanIndex, sizeof(copy.vlan.vlanIndex));
    return answer(status);
}

int switchCommand(const Request &request, const char *func)
{
    if (!request.isAtLeast(sizeof(SwMgrSwitchCmdRequest))) {
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__, "short switch command (%d): %d bytes\n",
               request.type, request.length);
        return statusInvalid;
    }
    SwMgrSwitchCmdRequest copy;
    memcpy(&copy, request.data, sizeof(copy));
    return answer(switchConfig(&copy, request.type, request.replyBuf, request.replyLen));
}

} // namespace

extern "C" int swMgrIoctlHandler(void *, RelayMsgHdr *msgHdr, int msgType, void *msgData,
                                 int msgLen, void *replyBuf, uint32_t *replyLen)
{
    if (msgHdr == nullptr)
        return statusFailed;
    if (msgHdr->request == 0) {
        LOG_ERROR(noLabel, "unexpected reply from %d cmd=%d !\n", static_cast<int>(msgHdr->sender),
                  msgType);
        return 0;
    }
    const Request request{msgType, msgData, msgLen, replyBuf, replyLen};
    switch (msgType) {
    case SWMGR_MSG_DB_EVENT:
        if (!request.isExactly(sizeof(SwMgrDbEvent))) {
            LOG_ERROR(noLabel, "Invalid database event\n");
            return statusFailed;
        }
        return answer(
            swMgrDBUpdateHandler(msgData, sizeof(SwMgrDbEvent), replyBuf, request.replyLength()));
    case SWMGR_MSG_IFDEV_EVENT:
        if (!request.isExactly(sizeof(SwMgrIfDevEvent))) {
            LOG_ERROR(noLabel, "%s: short ifDev event request!\n", __func__);
            return statusFailed;
        }
        return swMgrHandleIfDevEvent(msgData, replyBuf);
    case SW_CMD_VLAN_ADD:
    case SW_CMD_VLAN_DELETE:
        return vlanRequest(request, __func__);
    default:
        return switchCommand(request, __func__);
    }
}
