// Intercepts the library's load at startup, and opens the database for writing during a
// recovery.
#include "host/configuration.h"

#include "common/database_journal.h"
#include "host/served_file.h"
#include "model/status.h"
#include "service/reload.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <sqlite3.h>

namespace {

constexpr int busyTimeout = 5000; // ms to wait for a writer that holds the database

constinit int status = statusFailed; // written by swMgrCfgReload

bool run(sqlite3 *db, const char *sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// The result is the mode now in effect.
bool leaveWal(sqlite3 *db)
{
    const auto take = [](void *left, int /*count*/, char **values, char ** /*names*/) {
        *static_cast<bool *>(left) = values[0] != nullptr && strcmp(values[0], "delete") == 0;
        return 0;
    };
    bool left = false;
    return sqlite3_exec(db, "PRAGMA journal_mode=DELETE", take, &left, nullptr) == SQLITE_OK &&
           left;
}

} // namespace

// The library calls its exported operations through the loader, so this one overrides
// its own: swMgrInit does not tell its host the outcome of the load.
extern "C" SWMGR_API int swMgrCfgReload(void)
{
    servedFilePublish(); // messaging and database are the process's own by now
    using Reload = int (*)(void);
    const auto reload = reinterpret_cast<Reload>(dlsym(RTLD_NEXT, "swMgrCfgReload"));
    status = reload != nullptr ? reload() : statusFailed;
    return status;
}

int configurationStatus()
{
    return status;
}

const char *databaseRecover(const char *path)
{
    static char reason[256];
    char resolved[PATH_MAX];
    if (!databaseFolderResolve(path, resolved))
        return "its folder is not accessible";
    sqlite3 *db = nullptr;
    // The first query of the tables rolls a hot journal back; a write-ahead log is
    // emptied and disabled, since reading one requires a writable file.
    const bool recovered =
        sqlite3_open_v2(resolved, &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, nullptr) ==
            SQLITE_OK &&
        sqlite3_busy_timeout(db, busyTimeout) == SQLITE_OK &&
        run(db, "BEGIN IMMEDIATE; SELECT count(*) FROM sqlite_master; ROLLBACK") && leaveWal(db);
    if (!recovered)
        snprintf(reason, sizeof(reason), "%s",
                 sqlite3_extended_errcode(db) == SQLITE_CANTOPEN_SYMLINK ? "it is a symbolic link"
                                                                         : sqlite3_errmsg(db));
    sqlite3_close(db);
    return recovered ? nullptr : reason;
}
