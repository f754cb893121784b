// Spacing of the entries in the log daemon's answer.
#pragma once

#include "swmgr/swmgr_log.h"

// Bytes from the start of one entry to the start of the next.
constexpr size_t logEntrySize(size_t textLength)
{
    return (sizeof(SwMgrLogEntry) + textLength + 7) / 8 * 8;
}
