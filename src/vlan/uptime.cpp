// The first number in /proc/uptime is the uptime in seconds.
#include "vlan/uptime.h"

#include "model/status.h"
#include "platform/releaser.h"

extern "C" int timeEventGet(uint32_t *value, const char *path)
{
    if (value == nullptr || path == nullptr)
        return statusFailed;
    *value = 0;
    const SalFile file(salFileOpen(path, "r"));
    if (file == nullptr)
        return statusFailed;
    uint32_t read = 0;
    if (fscanf(file.get(), "%u\n", &read) == 1) // NOLINT(cert-err34-c): the kernel's own number
        *value = read;
    return 0;
}

extern "C" int timeEventRecord(const char *path)
{
    if (path == nullptr)
        return statusFailed;
    uint32_t uptime = 0;
    if (timeEventGet(&uptime, "/proc/uptime") < 0)
        return statusFailed;
    const SalFile file(salFileOpen(path, "w+"));
    if (file == nullptr)
        return statusFailed;
    // The service never reads the record; a full disk must not stop the VLAN.
    static_cast<void>(salFilePrintf(file.get(), "%u\n", uptime));
    return 0;
}
