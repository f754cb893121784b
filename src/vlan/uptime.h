// Records of the system uptime, one file per VLAN sub-interface.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// Reads the unsigned decimal number at the start of a file; 0 when there is
// none. 0; -1 when an argument is none or the file cannot be opened.
[[nodiscard]] SWMGR_API int timeEventGet(uint32_t *value, const char *path);

// Writes the system uptime in whole seconds to a file. 0; -1 when the path is
// none, the uptime cannot be read or the file cannot be opened.
[[nodiscard]] SWMGR_API int timeEventRecord(const char *path);
}
