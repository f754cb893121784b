// The service's global state, readable everywhere. Only the lifecycle code writes
// pSwMgrRelayCtx; the host writes the two flags.
#pragma once

#include "platform/relay.h"
#include "swmgr/swmgr.h"

extern "C" {
// Handle of the relay registration; null while the service is not registered.
extern SWMGR_API RelayCtx *pSwMgrRelayCtx;
}
