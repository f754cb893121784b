// Owns the service's single connection. Other processes write the file; the
// busy handler waits for them.
#include "store/database.h"

#include "base/log.h"
#include "model/status.h"

constinit sqlite3 *pDB = nullptr; // written by swMgrDBInit and swMgrDBDeinit

namespace {

constinit char busyHandlerName[32] = "swMgr"; // the busy handler's argument

// The service only reads. The pragma makes it so for the connection, whatever
// text an event may bring.
bool writingIsOff(sqlite3 *db)
{
    return sqlite3_exec(db, "PRAGMA query_only=ON", nullptr, nullptr, nullptr) == SQLITE_OK;
}

} // namespace

extern "C" int swMgrDBInit(const char *dbPath)
{
    if (sqlite3_open(dbPath, &pDB) != SQLITE_OK || !writingIsOff(pDB)) {
        LOG_ERROR(noLabel, "Couldn't open database %s \n", dbPath != nullptr ? dbPath : "");
        // A connection that failed to open still holds memory.
        static_cast<void>(swMgrDBDeinit());
        return statusFailed;
    }
    static_cast<void>(sqlite3_busy_handler(pDB, sqliteBusyHandler, busyHandlerName));
    return 0;
}

extern "C" int swMgrDBDeinit(void)
{
    if (pDB != nullptr)
        static_cast<void>(sqlite3_close(pDB)); // every statement of ours is finished
    pDB = nullptr;
    return 0;
}

bool databaseFileIsGone()
{
    int moved = 0;
    // A database without a file cannot tell, and has none to lose.
    return pDB != nullptr &&
           sqlite3_file_control(pDB, "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK &&
           moved != 0;
}

extern "C" char **swMgrTableGet(const char *query, int32_t *nCols, int32_t *nRows)
{
    return sqlite3QueryResGet(pDB, /*reserved=*/nullptr, query, nCols, nRows);
}
