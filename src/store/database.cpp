// Owns the service's only connection. The service only reads the file; other processes write
// it, and the busy handler waits for them.
#include "store/database.h"

#include "base/log.h"
#include "model/status.h"

constinit sqlite3 *pDB = nullptr; // set by swMgrDBInit and swMgrDBDeinit

namespace {

constinit char busyHandlerName[32] = "swMgr"; // the busy handler's argument

} // namespace

extern "C" int swMgrDBInit(const char *dbPath)
{
    if (sqlite3_open(dbPath, &pDB) != SQLITE_OK) {
        LOG_ERROR(noLabel, "Couldn't open database %s \n", dbPath != nullptr ? dbPath : "");
        // SQLite allocates a connection even if opening it fails.
        static_cast<void>(swMgrDBDeinit());
        return statusFailed;
    }
    static_cast<void>(sqlite3_busy_handler(pDB, sqliteBusyHandler, busyHandlerName));
    return 0;
}

extern "C" int swMgrDBDeinit(void)
{
    if (pDB != nullptr)
        static_cast<void>(sqlite3_close(pDB)); // all statements have been finalised
    pDB = nullptr;
    return 0;
}

extern "C" char **swMgrTableGet(const char *query, int32_t *nCols, int32_t *nRows)
{
    return sqlite3QueryResGet(pDB, /*reserved=*/nullptr, query, nCols, nRows);
}
