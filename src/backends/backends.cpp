// The only place that knows which backends exist. To add one, add a row here, a folder next to
// the others, and a test.
#include "backends/backends.h"

#include "backends/bcm/bcm.h"
#include "backends/bridge/bridge.h"
#include "backends/pse/pse.h"
#include "model/status.h"

#include <cstring>

constexpr SwitchConfigFuncEntry switchConfigFuncRegisterTbl[3] = {
    {"BCM", bcmSwitchRegister, bcmSwitchUnRegister},
    {"PSE", pseSwitchRegister, pseSwitchUnRegister},
    {"", nullptr, nullptr},
};

namespace {

// Searched after the exported table, whose contents are part of the interface.
struct Backend {
    const char *name;
    int (*registerFunc)(Switch *sw);
    int (*unregisterFunc)(Switch *sw);
};
constexpr Backend furtherBackends[] = {
    {"BRIDGE", bridgeRegister, bridgeUnRegister},
};

Backend backendOf(const Switch &sw)
{
    for (const SwitchConfigFuncEntry &entry : switchConfigFuncRegisterTbl)
        if (entry.registerFunc != nullptr && strcmp(entry.name, sw.switchName) == 0)
            return {entry.name, entry.registerFunc, entry.unregisterFunc};
    for (const Backend &backend : furtherBackends)
        if (strcmp(backend.name, sw.switchName) == 0)
            return backend;
    return {};
}

} // namespace

extern "C" int switchConfigFuncRegister(Switch *sw)
{
    if (sw == nullptr)
        return statusInvalid;
    const Backend backend = backendOf(*sw);
    return backend.registerFunc != nullptr ? backend.registerFunc(sw) : statusFailed;
}

extern "C" int switchConfigFuncUnRegister(Switch *sw)
{
    if (sw == nullptr)
        return statusInvalid;
    const Backend backend = backendOf(*sw);
    if (backend.unregisterFunc != nullptr)
        static_cast<void>(backend.unregisterFunc(sw)); // fails only for the name of another backend
    return 0;
}
