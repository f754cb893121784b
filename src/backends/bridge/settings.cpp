// Settings of the bridge, and of how its ports send. The kernel has no equivalent for trust
// mode and switch-wide QoS.
#include "backends/bridge/settings.h"

#include "backends/bridge/lines.h"
#include "backends/bridge/ports.h"
#include "base/labels.h"
#include "base/log.h"
#include "model/command.h"
#include "model/port_mask.h"
#include "model/status.h"
#include "platform/list_of.h"
#include "switch/payload.h"

#include <algorithm>

namespace {

constexpr int32_t heaviest = 1000; // maximum weight of a queue

// The kernel snoops both kinds of multicast or neither. Set by commands 56 and 57.
constinit bool igmp = false;
constinit bool mld = false;

// Whether pause frames have been enabled since the service started. Set by command 49.
constinit bool paused = false;

// The settings of each port number since the service started. Set by commands 48 and 50.
constinit PortSending sendings[portMaskBits] = {};

int snoop(bool &kind, const void *payload, const char *func)
{
    if (payload == nullptr)
        return statusFailed;
    kind = recordOf<uint8_t>(payload) != 0;
    return bridgeSnoopingSet(bridgeName(), igmp || mld, func);
}

int send(const SwitchPort &port, const PortSending &wanted, const char *func)
{
    const BridgePort place(port, func);
    if (place.status() < 0)
        return place.status();
    const int status = portSendingSet(place.name(), wanted, func);
    if (status == 0)
        sendings[port.portNumber] = wanted;
    return status;
}

int32_t weightOf(int32_t weight)
{
    return std::clamp(weight, 1, heaviest);
}

// False if the number of queues or the mode is invalid.
bool queuesRead(const SwCmdQueueSched &sched, PortSending &sending)
{
    if (sched.numQueues != 1 && sched.numQueues != 2 && sched.numQueues != 4)
        return false;
    sending.queues = sched.numQueues;
    const int32_t weights[] = {sched.queue1Weight, sched.queue2Weight, sched.queue3Weight,
                               sched.queue4Weight};
    for (int i = 0; i < 4; ++i)
        sending.weights[i] = weightOf(weights[i]);
    switch (sched.schedMode) {
    case SW_SCHED_MODE_CODE_0: // strict priority
        sending.strict = sched.numQueues;
        return true;
    case SW_SCHED_MODE_CODE_1: // weighted
        sending.strict = 0;
        return true;
    case SW_SCHED_MODE_CODE_2: // the highest has strict priority, the rest are weighted
        sending.strict = 1;
        return true;
    default:
        return false;
    }
}

} // namespace

int bridgeVlanEnable(Switch *sw, const void *payload)
{
    if (payload == nullptr)
        return statusInvalid;
    const auto state = recordOf<int32_t>(payload);
    if (state != 0 && state != 1) {
        LOG_ERROR(switchStrGet(sw), "Invalid VLAN mode (%d)\n", state);
        return statusFailed;
    }
    return bridgeFilteringSet(bridgeName(), state == 1, __func__);
}

int bridgeQueueSched(Switch *sw, const void *payload)
{
    if (payload == nullptr)
        return statusFailed;
    const auto sched = recordOf<SwCmdQueueSched>(payload);
    PortSending wanted{};
    if (!queuesRead(sched, wanted)) {
        LOG_ERROR(switchStrGet(sw), "Invalid number of queues (%d) or schedule mode (%d)\n",
                  sched.numQueues, sched.schedMode);
        return statusFailed;
    }
    int status = sched.portNumber == SWMGR_EVERY_PORT ? 0 : statusFailed;
    for (const SwitchPort &port : ListOf<SwitchPort>(sw->portList)) {
        if (portBit(port.portNumber) == 0 ||
            (sched.portNumber != SWMGR_EVERY_PORT && sched.portNumber != port.portNumber))
            continue;
        wanted.rate = sendings[port.portNumber].rate;
        status = send(port, wanted, __func__);
        if (status < 0)
            break;
    }
    LOG_INFO(switchStrGet(sw), "Switch ports Queue scheduling configuring %s. \n",
             status == 0 ? "Success" : "Failed");
    return status;
}

int bridgePauseFrame(Switch *sw, const void *payload)
{
    if (payload == nullptr)
        return statusFailed;
    const bool enable = recordOf<int32_t>(payload) == 1;
    // Most links start with pause frames off, and many reject the setting.
    if (!enable && !paused)
        return 0;
    paused = enable;
    for (const SwitchPort &port : ListOf<SwitchPort>(sw->portList)) {
        const BridgePort place(port, __func__);
        // Many interfaces do not support pause frames; the log shows which.
        if (place.status() == 0)
            static_cast<void>(portPauseSet(place.name(), enable, __func__));
    }
    return 0;
}

int bridgeRateLimit(Switch *sw, const void *payload)
{
    if (payload == nullptr)
        return statusFailed;
    const auto limit = recordOf<SwCmdRateLimit>(payload);
    const SwitchPort *found = nullptr;
    for (const SwitchPort &port : ListOf<SwitchPort>(sw->portList))
        if (portBit(port.portNumber) != 0 &&
            static_cast<uint32_t>(port.portNumber) == limit.portNumber)
            found = &port;
    if (found == nullptr) {
        LOG_ERROR(switchStrGet(sw), "Failed to find port (%d). \n",
                  static_cast<int>(limit.portNumber));
        return statusFailed;
    }
    PortSending wanted = sendings[found->portNumber];
    wanted.rate = 0;
    if (limit.limitCmd == SW_RATE_LIMIT_APPLY) {
        if (limit.rateLimit <= 0) {
            LOG_ERROR(switchStrGet(sw), "Switch can't configure this rate (%dkbps) \n",
                      limit.rateLimit);
            return statusFailed;
        }
        wanted.rate = limit.rateLimit;
    } else if (limit.limitCmd != SW_RATE_LIMIT_REMOVE) {
        LOG_ERROR(switchStrGet(sw), "Invalid cmd (%d) to configure rate limiting\n",
                  limit.limitCmd);
        return statusFailed;
    }
    return send(*found, wanted, __func__);
}

int bridgeIgmpSnooping(Switch *, const void *payload)
{
    return snoop(igmp, payload, __func__);
}

int bridgeMldSnooping(Switch *, const void *payload)
{
    return snoop(mld, payload, __func__);
}
