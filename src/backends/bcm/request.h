// Sends one request to the chip's driver.
#pragma once

#include "backends/bcm/bcm.h"
#include "backends/bcm/driver.h"

// With a record, passed by address. The driver's result.
template <class Record>
int driverRequest(BcmRequest request, Record &record)
{
    return salIoctl(fd, request, &record);
}

// Without a record; the argument travels as a pointer's value.
inline int driverRequest(BcmRequest request, intptr_t argument)
{
    return salIoctl(fd, request,
                    reinterpret_cast<void *>(argument)); // NOLINT(performance-no-int-to-ptr)
}
