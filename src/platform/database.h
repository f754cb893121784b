// The device's two SQLite helpers, which are part of the operating-system layer.
#pragma once

#include <sqlite3.h>

#ifdef __cplusplus
extern "C" {
#endif

// Runs `sql` and returns a table in the layout of sqlite3_get_table, to be released with
// sqlite3_free_table; null if the query fails. `reserved` is always null. The row count does
// not include the row of column names.
char **sqlite3QueryResGet(sqlite3 *db, void *reserved, const char *sql, int *columnCount,
                          int *rowCount);

// Busy callback: a non-zero result makes SQLite try again.
int sqliteBusyHandler(void *arg, int timesBusy);

#ifdef __cplusplus
}
#endif
