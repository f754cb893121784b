// The only place that knows which backends there are. A new one is a row here,
// a folder beside the others, and a test.
#include "backends/backends.h"

#include "backends/bcm/bcm.h"
#include "backends/pse/pse.h"
#include "model/status.h"

#include <cstring>

constexpr SwitchConfigFuncEntry switchConfigFuncRegisterTbl[3] = {
    {"BCM", bcmSwitchRegister, bcmSwitchUnRegister},
    {"PSE", pseSwitchRegister, pseSwitchUnRegister},
    {"", nullptr, nullptr},
};

namespace {

const SwitchConfigFuncEntry *backendOf(const Switch &sw)
{
    for (const SwitchConfigFuncEntry &entry : switchConfigFuncRegisterTbl)
        if (entry.registerFunc != nullptr && strcmp(entry.name, sw.switchName) == 0)
            return &entry;
    return nullptr;
}

} // namespace

extern "C" int switchConfigFuncRegister(Switch *sw)
{
    if (sw == nullptr)
        return statusInvalid;
    const SwitchConfigFuncEntry *backend = backendOf(*sw);
    return backend != nullptr ? backend->registerFunc(sw) : statusFailed;
}

extern "C" int switchConfigFuncUnRegister(Switch *sw)
{
    if (sw == nullptr)
        return statusInvalid;
    const SwitchConfigFuncEntry *backend = backendOf(*sw);
    if (backend != nullptr)
        static_cast<void>(backend->unregisterFunc(sw)); // it can only refuse a foreign name
    return 0;
}
