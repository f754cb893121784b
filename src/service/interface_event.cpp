// Converts an interface event to command 50 for the top-level switch.
#include "service/interface_event.h"

#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "platform/relay.h"
#include "platform/text.h"
#include "switch/command.h"
#include "switch/registry.h"

namespace {

constexpr uint32_t upstreamPort = 1; // of the top-level switch

bool carriesBandwidth(uint32_t eventCode)
{
    return eventCode == SWMGR_IFDEV_EVENT_A || eventCode == SWMGR_IFDEV_EVENT_B ||
           eventCode == SWMGR_IFDEV_EVENT_C;
}

// The request handler logs the final message about a refused event.
int refused(int status)
{
    LOG_AT(SWMGR_LOG_ERROR, noLabel, "swMgrIoctlHandler", __LINE__,
           "failed to handle interface events\n");
    return status;
}

} // namespace

extern "C" int swMgrHandleIfDevEvent(const void *eventData, const void *bandwidthData)
{
    if (eventData == nullptr)
        return statusInvalid;
    SwMgrIfDevEvent event;
    memcpy(&event, eventData, sizeof(event));
    char name[sizeof(event.interfaceName) + 1];
    textCopy(name, event.interfaceName);

    LOG_INFO(noLabel, "Received interface event=%d on %s\n", static_cast<int>(event.eventCode),
             name);
    if (!carriesBandwidth(event.eventCode))
        return refused(statusUnsupported);
    if (bandwidthData == nullptr) {
        LOG_ERROR(noLabel, "No bandwidth information provided in event\n");
        return refused(statusFailed);
    }
    Switch *top = switchAtTopLevelGet();
    if (top == nullptr) {
        LOG_ERROR(noLabel, "No Switch is yet initialized\n");
        return refused(statusFailed);
    }

    // Safe however little the sender provided: a reply buffer is never shorter.
    static_assert(sizeof(SwMgrIfBandwidth) <= RELAY_REPLY_SIZE);
    SwMgrIfBandwidth bandwidth;
    memcpy(&bandwidth, bandwidthData, sizeof(bandwidth));
    // The product wraps at 32 bits, as senders expect.
    const uint32_t rate = bandwidth.totalBandwidth * bandwidth.percentage / 100;
    SwCmdRateLimit limit{};
    limit.portNumber = upstreamPort;
    limit.limitCmd = bandwidth.totalBandwidth != 0 ? 1 : 0;
    limit.rateLimit = static_cast<int32_t>(rate);
    LOG_INFO(noLabel,
             "Configure upstream bandwdith limit of %s to %d kbps (%d%% of total bandwidth(%ld))\n",
             name, limit.rateLimit, static_cast<int>(bandwidth.percentage),
             static_cast<long>(bandwidth.totalBandwidth));
    const int status = switchCommandSend(*top, SW_CMD_RATE_LIMIT, &limit, sizeof(limit),
                                         /*replyBuf=*/nullptr, /*replyLen=*/nullptr);
    if (status >= 0)
        return 0;
    LOG_ERROR(noLabel, "Failed to configure rate limiting based on interface bandwidth change \n");
    return refused(status);
}
