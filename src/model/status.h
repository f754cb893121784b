// Statuses of the library's own making, under the names its code uses. Negative
// is failure; what a backend or tool returned passes up unchanged.
#pragma once

#include "swmgr/swmgr_client.h"

constexpr int statusFailed = SWMGR_STATUS_FAILED;
constexpr int statusNoMemory = SWMGR_STATUS_NO_MEMORY;
constexpr int statusInvalid = SWMGR_STATUS_INVALID;
constexpr int statusUnsupported = SWMGR_STATUS_UNSUPPORTED;
