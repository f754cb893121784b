// Owns the chip's descriptor.
#include "backends/bcm/device.h"

#include <fcntl.h>

constinit int32_t fd = 0; // written by chipOpen

int chipOpen(const char *path)
{
    fd = salOpen(path, O_RDWR, /*mode=*/0);
    return fd;
}

void chipClose()
{
    if (fd > 0)
        static_cast<void>(salClose(fd)); // the descriptor is released even on failure
}
