// The connection to the configuration database, and its query primitive.
#pragma once

#include "platform/database.h"
#include "platform/releaser.h"
#include "swmgr/swmgr.h"

extern "C" {
// The connection; null before swMgrDBInit succeeds and after swMgrDBDeinit.
extern SWMGR_API sqlite3 *pDB;

// Opens the database, which may be in memory. Returns 0, or -1 if it cannot be opened.
[[nodiscard]] SWMGR_API int swMgrDBInit(const char *dbPath);

// Closes the connection, if any. Always returns 0.
SWMGR_API int swMgrDBDeinit(void);

// Runs any statement. The caller must release the returned table with sqlite3_free_table; null
// if the statement fails. The counts are those of the columns and the data rows.
[[nodiscard]] SWMGR_API char **swMgrTableGet(const char *query, int32_t *nCols, int32_t *nRows);
}
