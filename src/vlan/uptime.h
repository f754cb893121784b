// Uptime records, one file per VLAN sub-interface.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// Reads the unsigned decimal number at the start of a file, 0 if there is none. Returns 0; -1
// if an argument is null or the file cannot be opened.
[[nodiscard]] SWMGR_API int timeEventGet(uint32_t *value, const char *path);

// Writes the system uptime in whole seconds to a file. Returns 0; -1 if the path is null, the
// uptime cannot be read or the file cannot be opened.
[[nodiscard]] SWMGR_API int timeEventRecord(const char *path);
}
