// Interface events: a link's bandwidth becomes an upstream rate limit.
#pragma once

#include "swmgr/swmgr.h"

// Handles one event for the top-level switch.
//
//   event      SwMgrIfDevEvent, its 1132 bytes all there
//   bandwidth  SwMgrIfBandwidth as the sender's reply buffer holds it, or none
//   length     bytes at `bandwidth`; fewer than the record count as none
//
// Returns 0; -95 for an event other than 22, 25 and 26; -1 without bandwidth or
// without a top-level switch; else the backend's negative result.
extern "C" [[nodiscard]] SWMGR_API int
swMgrHandleIfDevEvent(const void *event, const void *bandwidth, uint32_t length);
