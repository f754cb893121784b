// The chip's QoS and port functions. The command dispatch does not call them;
// they take the command payloads, so that a dispatch could.
//
// The configuring operations return -1 without a switch or an argument, the
// driver's negative result when it refuses, else its result, and log the
// outcome under the switch's label.
#pragma once

#include "backends/bcm/driver.h"
#include "model/command.h"
#include "model/switch.h"
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"

// What the CoS-to-queue mapping is given. The driver defines which of the two
// values is the class of service and which the queue.
struct BcmCosQueueMapArgs {
    int32_t portNumber; // or SWMGR_EVERY_PORT
    int32_t mapValue1;
    int32_t reserved; // not read
    int32_t mapValue2;
};
static_assert(sizeof(BcmCosQueueMapArgs) == 16);
static_assert(offsetof(BcmCosQueueMapArgs, mapValue2) == 12);

extern "C" {
// Stores the driver's link status of a port. 0 or -1.
[[nodiscard]] SWMGR_API int bcmLinkStatusGet(int32_t port, int32_t *linkStatus);

// Has the driver fill a port's counters in. 0 or -1.
[[nodiscard]] SWMGR_API int bcmPortStatsGet(int32_t port, BcmPortStatsRecord *stats);

[[nodiscard]] SWMGR_API int bcmQoSConfigure(Switch *sw, const int32_t *qosEnable);
[[nodiscard]] SWMGR_API int bcmPauseFrameConfigure(Switch *sw, const int32_t *pauseFrameEnable);
[[nodiscard]] SWMGR_API int bcmRateLimitConfigure(Switch *sw, const SwCmdRateLimit *limit);
[[nodiscard]] SWMGR_API int bcmTrustModeConfigure(Switch *sw, const SwCmdTrustMode *mode);

// One request per selected port, in list order, up to the first that fails. -1
// when no port is selected.
[[nodiscard]] SWMGR_API int bcmQueueSchedConfigure(Switch *sw, const SwCmdQueueSched *sched);
[[nodiscard]] SWMGR_API int bcmCosQueueMapConfigure(Switch *sw, const BcmCosQueueMapArgs *map);

// Log only; the chip has nothing to set. 0, or -1 without a switch.
SWMGR_API int bcmIGMPSnoopSet(Switch *sw);
SWMGR_API int bcmMLDSnoopSet(Switch *sw);
}
