// The hardware address of a Linux interface.
#pragma once

#include "swmgr/swmgr.h"

constexpr unsigned macTextSize = 32; // bytes needed by switchMacAddressByIfNameGet

// Writes the address of `ifName` as "00:11:22:33:44:55" to `macText`, which has at least 32
// bytes. Returns 0, or -1 if it cannot be read.
extern "C" [[nodiscard]] SWMGR_API int switchMacAddressByIfNameGet(const char *ifName,
                                                                   char *macText);
