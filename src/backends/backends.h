// The table of backends. A switch's name selects its driver.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

// One backend. The name is an array, so that the table can be read from outside without
// following pointers.
struct SwitchConfigFuncEntry {
    char name[512];

    // Binds `sw`: checks that the name is the backend's own (-22 if not), installs
    // configFunc and, where the backend hands commands on, confTransferFunc, and
    // sets the device up. Called once, before the switch is listed. None: no entry.
    int (*registerFunc)(Switch *sw);

    // Clears what registerFunc installed.
    int (*unregisterFunc)(Switch *sw);
};

extern "C" {
// Searched in order; the last entry is empty.
extern SWMGR_API const SwitchConfigFuncEntry switchConfigFuncRegisterTbl[3];

// Binds `sw` to the backend of its name. The backend's result; -1 when there is
// no such backend; -22 for none.
[[nodiscard]] SWMGR_API int switchConfigFuncRegister(Switch *sw);

// Detaches `sw` from its backend. 0, also without a backend; -22 for none.
[[nodiscard]] SWMGR_API int switchConfigFuncUnRegister(Switch *sw);
}
