// The chip's device node, and the only path to its driver.
#pragma once

#include "backends/bcm/driver.h"
#include "platform/sal.h"
#include "swmgr/swmgr.h"

extern "C" {
// Descriptor of the chip's device node: 0 before the first open, negative if it failed. There
// is one chip per process.
extern SWMGR_API int32_t fd;
}

// Opens the node. Returns the descriptor, or a negative value.
[[nodiscard]] int chipOpen(const char *path);

// Closes the node if it was opened.
void chipClose();

// Sends a request with a record, passed by address. Returns the driver's result.
template <class Record>
int driverRequest(BcmRequest request, Record &record)
{
    return salIoctl(fd, request, &record);
}

// Sends a request without a record; the argument is passed as a pointer value.
inline int driverRequest(BcmRequest request, intptr_t argument)
{
    return salIoctl(fd, request,
                    reinterpret_cast<void *>(argument)); // NOLINT(performance-no-int-to-ptr)
}
