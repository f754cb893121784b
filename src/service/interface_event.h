// Interface events: a link's bandwidth becomes an upstream rate limit.
#pragma once

#include "swmgr/swmgr.h"

// Handles one event for the top-level switch.
//
//   event      SwMgrIfDevEvent, its 1132 bytes all there
//   bandwidth  SwMgrIfBandwidth in the sender's reply buffer, all there; or none
//
// Returns 0; -22 for no event; -95 for one other than 22, 25 and 26; -1 without
// bandwidth or without a top-level switch; else the backend's negative result.
extern "C" [[nodiscard]] SWMGR_API int swMgrHandleIfDevEvent(const void *event,
                                                             const void *bandwidth);
