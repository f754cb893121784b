// Port lists as stored in the map columns of vlanEncapIf.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// The bit mask of a comma-separated list of decimal port numbers; bit n is port n. Numbers
// outside 0 to 31 are ignored. Modifies the text.
[[nodiscard]] SWMGR_API uint32_t str2num(char *list);
}
