// The library's own status codes. Negative values are failures; results of backends and tools
// are passed on unchanged.
#pragma once

#include "swmgr/swmgr_client.h"

constexpr int statusFailed = SWMGR_STATUS_FAILED;
constexpr int statusNoMemory = SWMGR_STATUS_NO_MEMORY;
constexpr int statusInvalid = SWMGR_STATUS_INVALID;
constexpr int statusUnsupported = SWMGR_STATUS_UNSUPPORTED;
