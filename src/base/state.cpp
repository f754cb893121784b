// Definitions of the flags and of the registration handle.
#include "base/state.h"

constinit int32_t swMgrForeground = 0;           // set by the host before the start
constinit int32_t swMgrDevDebug = 0;             // set by the host
constinit volatile int32_t swMgrInitialized = 0; // set by swMgrInit, cleared on stop
constinit RelayCtx *pSwMgrRelayCtx = nullptr;    // set by swMgrInit and swMgrDeinit
