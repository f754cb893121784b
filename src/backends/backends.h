// The table of backends. A switch's name selects its backend.
#pragma once

#include "model/switch.h"
#include "swmgr/swmgr.h"

// One backend. The name is an array so that the table can be read from outside without
// following pointers.
struct SwitchConfigFuncEntry {
    char name[512];

    // Binds `sw`: checks the name (-22 if it is not the backend's), installs configFunc and, if
    // the backend passes commands on, confTransferFunc, and sets up the device. Called once,
    // before the switch is listed. Null ends the table.
    int (*registerFunc)(Switch *sw);

    // Removes what registerFunc installed.
    int (*unregisterFunc)(Switch *sw);
};

extern "C" {
// Searched in order; the last entry is empty.
extern SWMGR_API const SwitchConfigFuncEntry switchConfigFuncRegisterTbl[3];

// Binds `sw` to the backend selected by its name. Returns the backend's result; -1 if there is
// no such backend; -22 for null.
[[nodiscard]] SWMGR_API int switchConfigFuncRegister(Switch *sw);

// Detaches `sw` from its backend. Returns 0, even if it has none; -22 for null.
[[nodiscard]] SWMGR_API int switchConfigFuncUnRegister(Switch *sw);
}
