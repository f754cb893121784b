// The device's two SQLite helpers; they live in the operating-system layer.
#pragma once

#include <sqlite3.h>

#ifdef __cplusplus
extern "C" {
#endif

// Runs `sql` and returns a table laid out as sqlite3_get_table lays it out, to
// be released with sqlite3_free_table; null when the query fails. `reserved`
// is always null. The row count does not include the row of column names.
char **sqlite3QueryResGet(sqlite3 *db, void *reserved, const char *sql, int *columnCount,
                          int *rowCount);

// Busy callback: non-zero asks SQLite to try again.
int sqliteBusyHandler(void *arg, int timesBusy);

#ifdef __cplusplus
}
#endif
