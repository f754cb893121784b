// The host's entry points: starting, running and stopping the service.
#include "swmgr/swmgr.h"

#include "base/log.h"
#include "base/state.h"
#include "model/status.h"
#include "service/dispatch.h"
#include "service/reload.h"
#include "store/database.h"
#include "switch/registry.h"

namespace {

constexpr int registrationMode = 2;
constexpr int listenPeriod = 1000000;

// Set by a successful swMgrInit, cleared by a failed one and by swMgrDeinit. The host may clear
// swMgrInitialized to stop the loop, so that flag does not show whether there is anything left
// to release.
constinit bool started = false;

void unregister()
{
    if (pSwMgrRelayCtx == nullptr)
        return;
    static_cast<void>(relayUnRegister(pSwMgrRelayCtx)); // a failure here has no remedy
    pSwMgrRelayCtx = nullptr;
}

} // namespace

extern "C" int swMgrInit(const char *dbPath)
{
    started = false;
    static_cast<void>(relayInit()); // relayRegister fails if this did
    pSwMgrRelayCtx = relayRegister(SWMGR_RELAY_MODULE_ID, registrationMode, swMgrIoctlHandler,
                                   /*arg=*/nullptr);
    if (pSwMgrRelayCtx == nullptr)
        return statusFailed;

    int status = switchLibInit();
    if (status < 0) {
        LOG_ERROR(noLabel, "failed to initialize switch manager list\n");
        unregister();
        return status;
    }
    status = swMgrDBInit(dbPath);
    if (status < 0) {
        LOG_ERROR(noLabel, "failed to open database connection\n");
        unregister();
        return status;
    }
    // A failure to load the configuration has been logged. The service starts anyway, so that
    // database events can correct it.
    static_cast<void>(swMgrCfgReload());
    started = true;
    swMgrInitialized = 1;
    return 0;
}

extern "C" void swMgrRun(void)
{
    while (swMgrInitialized != 0)
        static_cast<void>(relayListen(pSwMgrRelayCtx, listenPeriod));
}

extern "C" int swMgrDeinit(void)
{
    unregister();
    if (swMgrInitialized != 0 || started) {
        swMgrInitialized = 0;
        started = false;
        static_cast<void>(relayDeInit());
        static_cast<void>(swMgrDBDeinit());
    }
    return 0;
}
