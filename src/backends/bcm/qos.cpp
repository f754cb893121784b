// Builds the driver's QoS records from command payloads, and logs the results.
#include "backends/bcm/qos.h"

#include "backends/bcm/device.h"
#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/status.h"
#include "platform/list_of.h"
#include "switch/payload.h"

namespace {

const char *outcome(int status)
{
    return status == 0 ? "Success" : "Failed";
}

bool selected(const SwitchPort &port, int32_t portNumber)
{
    return portNumber == SWMGR_EVERY_PORT || portNumber == port.portNumber;
}

BcmQueueSchedRecord schedRecord(const SwitchPort &port, const SwCmdQueueSched &sched)
{
    BcmQueueSchedRecord record{};
    record.portNumber = static_cast<uint16_t>(port.portNumber);
    record.schedMode = static_cast<uint8_t>(sched.schedMode);
    record.queue1Weight = static_cast<uint8_t>(sched.queue1Weight);
    record.queue2Weight = static_cast<uint8_t>(sched.queue2Weight);
    record.queue3Weight = static_cast<uint8_t>(sched.queue3Weight);
    record.queue4Weight = static_cast<uint8_t>(sched.queue4Weight);
    return record;
}

BcmCosQueueMapRecord cosRecord(const SwitchPort &port, const BcmCosQueueMapArgs &map)
{
    BcmCosQueueMapRecord record{};
    record.portNumber = static_cast<uint16_t>(port.portNumber);
    record.mapValue1 = static_cast<uint8_t>(map.mapValue1);
    record.mapValue2 = static_cast<uint8_t>(map.mapValue2);
    return record;
}

} // namespace

extern "C" int bcmLinkStatusGet(int32_t port, int32_t *linkStatus)
{
    if (linkStatus == nullptr)
        return statusFailed;
    const int status = driverRequest(BCM_IOC_LINK_STATUS_GET, intptr_t{port});
    if (status < 0) {
        LOG_ERROR(noLabel, "Failed to get the port%d link status\n", port);
        return statusFailed;
    }
    *linkStatus = status;
    LOG_INFO(noLabel, "Link Status is %d\n", status);
    return 0;
}

extern "C" int bcmPortStatsGet(int32_t port, BcmPortStatsRecord *stats)
{
    if (stats == nullptr)
        return statusFailed;
    stats->portNumber = static_cast<uint16_t>(port);
    if (driverRequest(BCM_IOC_PORT_STATS_GET, *stats) < 0) {
        LOG_ERROR(noLabel, "Failed to get the statistics for Port%d \n", port);
        return statusFailed;
    }
    return 0;
}

extern "C" int bcmQoSConfigure(Switch *sw, const int32_t *qosEnable)
{
    if (sw == nullptr || qosEnable == nullptr)
        return statusFailed;
    BcmEnableRecord record{recordOf<int32_t>(qosEnable)};
    LOG_INFO(switchStrGet(sw), "QoS Enable status %d\n", int{record.enable});
    const int status = driverRequest(BCM_IOC_QOS_SET, record);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "configuring QoS in switch failed (%d).\n", status);
        return status;
    }
    LOG_NOTICE(switchStrGet(sw), "QoS Enable configuration (%s).\n", outcome(status));
    return status;
}

extern "C" int bcmPauseFrameConfigure(Switch *sw, const int32_t *pauseFrameEnable)
{
    if (sw == nullptr || pauseFrameEnable == nullptr)
        return statusFailed;
    BcmEnableRecord record{recordOf<int32_t>(pauseFrameEnable)};
    const int status = driverRequest(BCM_IOC_PAUSE_FRAME_SET, record);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "configuring  pause frames failed.\n");
        return status;
    }
    LOG_NOTICE(switchStrGet(sw), "Pause Frame configuration (%s) \n", outcome(status));
    return status;
}

extern "C" int bcmRateLimitConfigure(Switch *sw, const SwCmdRateLimit *limitPayload)
{
    if (sw == nullptr || limitPayload == nullptr)
        return statusFailed;
    const auto limit = recordOf<SwCmdRateLimit>(limitPayload);
    const int port = static_cast<int>(limit.portNumber);
    BcmRateLimitRecord record{};
    record.portNumber = static_cast<uint16_t>(limit.portNumber);
    record.limitCmd = limit.limitCmd;
    record.rateLimit = limit.rateLimit;
    const int status = driverRequest(BCM_IOC_RATE_LIMIT_SET, record);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "failed to configure rate limit rule on %d \n", port);
        return status;
    }
    LOG_NOTICE(switchStrGet(sw), "Rate Limit(%d kbps) port(%d) returned (%s) \n", limit.rateLimit,
               port, outcome(status));
    return status;
}

extern "C" int bcmTrustModeConfigure(Switch *sw, const SwCmdTrustMode *modePayload)
{
    if (sw == nullptr || modePayload == nullptr)
        return statusFailed;
    const auto mode = recordOf<SwCmdTrustMode>(modePayload);
    BcmTrustModeRecord record{};
    record.portNumber = static_cast<uint16_t>(mode.portNumber);
    record.trustMode = mode.trustMode;
    const int status = driverRequest(BCM_IOC_TRUST_MODE_SET, record);
    if (status < 0) {
        LOG_ERROR(switchStrGet(sw), "failed to configure trust mode for %d \n", mode.portNumber);
        return status;
    }
    LOG_NOTICE(switchStrGet(sw), "Trust mode Configuration returning status (%s) \n",
               outcome(status));
    return status;
}

extern "C" int bcmQueueSchedConfigure(Switch *sw, const SwCmdQueueSched *schedPayload)
{
    if (sw == nullptr || schedPayload == nullptr)
        return statusFailed;
    const auto sched = recordOf<SwCmdQueueSched>(schedPayload);
    int status = statusFailed;
    for (const SwitchPort &port : ListOf<SwitchPort>(sw->portList)) {
        if (!selected(port, sched.portNumber))
            continue;
        BcmQueueSchedRecord record = schedRecord(port, sched);
        status = driverRequest(BCM_IOC_QUEUE_SCHED_SET, record);
        if (status < 0) {
            LOG_ERROR(switchStrGet(sw), "configuring Scheduling on port%d failed.\n",
                      sched.portNumber);
            return status;
        }
    }
    LOG_NOTICE(switchStrGet(sw), "Queue Schedule configuration (%s) \n", outcome(status));
    return status;
}

extern "C" int bcmCosQueueMapConfigure(Switch *sw, const BcmCosQueueMapArgs *mapPayload)
{
    if (sw == nullptr || mapPayload == nullptr)
        return statusFailed;
    const auto map = recordOf<BcmCosQueueMapArgs>(mapPayload);
    int status = statusFailed;
    for (const SwitchPort &port : ListOf<SwitchPort>(sw->portList)) {
        if (!selected(port, map.portNumber))
            continue;
        BcmCosQueueMapRecord record = cosRecord(port, map);
        status = driverRequest(BCM_IOC_COS_QUEUE_MAP_SET, record);
        if (status < 0) {
            LOG_ERROR(switchStrGet(sw), "failed to configure cos queue mapping for %d \n",
                      port.portNumber);
            return status;
        }
    }
    LOG_NOTICE(switchStrGet(sw), "Trust mode Configuration (%s) \n", outcome(status));
    return status;
}

extern "C" int bcmIGMPSnoopSet(Switch *sw)
{
    if (sw == nullptr)
        return statusFailed;
    LOG_INFO(switchStrGet(sw), "Configuring IGMP Snooping in the switch \n");
    LOG_NOTICE(switchStrGet(sw), "Successfully configured IGMP in the switch. \n");
    return 0;
}

extern "C" int bcmMLDSnoopSet(Switch *sw)
{
    if (sw == nullptr)
        return statusFailed;
    LOG_INFO(switchStrGet(sw), "Configuring MLD Snooping in the switch \n");
    LOG_NOTICE(switchStrGet(sw), "Successfully configured MLD in the switch. \n");
    return 0;
}
