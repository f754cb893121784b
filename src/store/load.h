// Loads the stored configuration at the start, one table each.
//
// Each returns 0 when every row was handed to the model; -22 when the table
// cannot be read; else the negative result of the first row that failed. Rows
// before it stay, rows after it are not tried.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
[[nodiscard]] SWMGR_API int switchCfgLoad(void);
[[nodiscard]] SWMGR_API int switchPortCfgLoad(void);
[[nodiscard]] SWMGR_API int switchVlanCfgLoad(void);
}
