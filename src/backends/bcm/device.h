// The chip's device node and the one way in which a request reaches its driver.
#pragma once

#include "backends/bcm/driver.h"
#include "platform/sal.h"
#include "swmgr/swmgr.h"

extern "C" {
// Descriptor of the chip's device node; 0 until one was opened, negative when
// that failed. There is one chip per process.
extern SWMGR_API int32_t fd;
}

// Opens the node. The descriptor, or negative.
[[nodiscard]] int chipOpen(const char *path);

// Closes the node, if one was ever opened.
void chipClose();

// Sends a request with a record, passed by address. The driver's result.
template <class Record>
int driverRequest(BcmRequest request, Record &record)
{
    return salIoctl(fd, request, &record);
}

// Sends one without a record; the argument travels as a pointer's value.
inline int driverRequest(BcmRequest request, intptr_t argument)
{
    return salIoctl(fd, request,
                    reinterpret_cast<void *>(argument)); // NOLINT(performance-no-int-to-ptr)
}
