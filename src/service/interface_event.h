// Interface events: a link's bandwidth becomes an upstream rate limit.
#pragma once

#include "swmgr/swmgr.h"

// Handles one event for the top-level switch.
//
//   event      a complete SwMgrIfDevEvent, 1132 bytes
//   bandwidth  a complete SwMgrIfBandwidth in the sender's reply buffer, or null
//
// Returns 0; -22 for a null event; -95 for an event other than 22, 25 and 26; -1 if there is no
// bandwidth or no top-level switch; else the backend's negative result.
extern "C" [[nodiscard]] SWMGR_API int swMgrHandleIfDevEvent(const void *event,
                                                             const void *bandwidth);
