// The connection to the configuration database and its one query primitive.
#pragma once

#include "platform/database.h"
#include "platform/releaser.h"
#include "swmgr/swmgr.h"

extern "C" {
// The connection; none until swMgrDBInit succeeds and after swMgrDBDeinit.
extern SWMGR_API sqlite3 *pDB;

// Opens the database, which may be one in memory. 0, or -1 when it cannot be opened.
[[nodiscard]] SWMGR_API int swMgrDBInit(const char *dbPath);

// Closes the connection if there is one. Always 0.
SWMGR_API int swMgrDBDeinit(void);

// Runs a statement of any kind. The table is the caller's, to be released with
// sqlite3_free_table; none when the statement fails. The counts are those of
// columns and of data rows.
[[nodiscard]] SWMGR_API char **swMgrTableGet(const char *query, int32_t *nCols, int32_t *nRows);
}
