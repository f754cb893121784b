// Stands between the library's start and its load, and opens the database for
// writing for the time of a recovery.
#include "configuration.h"

#include "service/reload.h"

#include <dlfcn.h>
#include <sqlite3.h>

#include <cstdio>

namespace {

constexpr int busyTimeout = 5000; // ms that a writer may hold the database

constinit int status = 0; // written by swMgrCfgReload

bool run(sqlite3 *db, const char *sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

} // namespace

// The library calls its exported operations through the loader, so this one takes
// the place of its own: swMgrInit does not tell its host what the load came to.
extern "C" SWMGR_API int swMgrCfgReload(void)
{
    using Reload = int (*)(void);
    const auto reload = reinterpret_cast<Reload>(dlsym(RTLD_NEXT, "swMgrCfgReload"));
    status = reload != nullptr ? reload() : -1;
    return status;
}

int configurationStatus()
{
    return status;
}

const char *databaseRecover(const char *path)
{
    static char reason[256];
    sqlite3 *db = nullptr;
    // The first look at the tables rolls a hot journal back; a write-ahead log is
    // emptied and given up, since reading one needs a file that can be written.
    const bool recovered =
        sqlite3_open_v2(path, &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
        sqlite3_busy_timeout(db, busyTimeout) == SQLITE_OK &&
        run(db, "BEGIN IMMEDIATE; SELECT count(*) FROM sqlite_master; ROLLBACK") &&
        run(db, "PRAGMA journal_mode=DELETE");
    snprintf(reason, sizeof(reason), "%s", recovered ? "" : sqlite3_errmsg(db));
    sqlite3_close(db);
    return recovered ? nullptr : reason;
}
