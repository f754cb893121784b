// The chip's QoS and port functions. The command dispatch does not call them, but they take
// command payloads so that it could.
//
// The configuring operations log the result under the switch's label. They return -1 if the
// switch or an argument is null, else the driver's result.
#pragma once

#include "backends/bcm/driver.h"
#include "model/command.h"
#include "model/switch.h"
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

// Arguments of the CoS-to-queue mapping. The driver defines which of the two values is the
// class of service and which is the queue.
struct BcmCosQueueMapArgs {
    int32_t portNumber; // or SWMGR_EVERY_PORT
    int32_t mapValue1;
    int32_t reserved; // ignored
    int32_t mapValue2;
};
static_assert(sizeof(BcmCosQueueMapArgs) == 16);
static_assert(offsetof(BcmCosQueueMapArgs, mapValue2) == 12);

extern "C" {
// Stores the driver's link status of a port. Returns 0 or -1.
[[nodiscard]] SWMGR_API int bcmLinkStatusGet(int32_t port, int32_t *linkStatus);

// Fills in a port's counters from the driver. Returns 0 or -1.
[[nodiscard]] SWMGR_API int bcmPortStatsGet(int32_t port, BcmPortStatsRecord *stats);

[[nodiscard]] SWMGR_API int bcmQoSConfigure(Switch *sw, const int32_t *qosEnable);
[[nodiscard]] SWMGR_API int bcmPauseFrameConfigure(Switch *sw, const int32_t *pauseFrameEnable);
[[nodiscard]] SWMGR_API int bcmRateLimitConfigure(Switch *sw, const SwCmdRateLimit *limit);
[[nodiscard]] SWMGR_API int bcmTrustModeConfigure(Switch *sw, const SwCmdTrustMode *mode);

// Sends one request per selected port, in list order, until one fails. Returns -1 if no port is
// selected.
[[nodiscard]] SWMGR_API int bcmQueueSchedConfigure(Switch *sw, const SwCmdQueueSched *sched);
[[nodiscard]] SWMGR_API int bcmCosQueueMapConfigure(Switch *sw, const BcmCosQueueMapArgs *map);

// Only log; the chip has nothing to set. Return 0, or -1 if the switch is null.
SWMGR_API int bcmIGMPSnoopSet(Switch *sw);
SWMGR_API int bcmMLDSnoopSet(Switch *sw);
}
