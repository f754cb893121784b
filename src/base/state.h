// The service's state, which every room may read. Only the lifecycle writes
// pSwMgrRelayCtx; the host writes the two flags.
#pragma once

#include "platform/relay.h"
#include "swmgr/swmgr.h"

extern "C" {
// Handle of the registration; none while the service is not registered.
extern SWMGR_API RelayCtx *pSwMgrRelayCtx;
}
