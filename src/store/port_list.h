// Lists of ports as the map columns of vlanEncapIf hold them.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
// The bit mask of a comma-separated list of decimal port numbers, bit n for
// port n. Numbers outside 0 to 31 set no bit. The text is taken apart.
[[nodiscard]] SWMGR_API uint32_t str2num(char *list);
}
