// Loads the stored configuration at startup, one table per function.
//
// Each returns 0 if every row was accepted; -22 if the table cannot be read; else the negative
// result of the first row that failed. Earlier rows remain applied; later rows are not tried.
#pragma once

#include "swmgr/swmgr.h"

extern "C" {
[[nodiscard]] SWMGR_API int switchCfgLoad(void);
[[nodiscard]] SWMGR_API int switchPortCfgLoad(void);
[[nodiscard]] SWMGR_API int switchVlanCfgLoad(void);
}
