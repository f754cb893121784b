// Update events: another process has changed a database row.
#pragma once

#include "platform/database.h"
#include "swmgr/swmgr.h"

extern "C" {
// Handles one event.
//
//   event            SwMgrDbEvent
//   length           its length, 80
//   oldValues        the row's old values, or null: consecutive null-terminated
//                    strings, first the column names, then the values
//   oldValuesLength  bytes at `oldValues`
//
// Returns the status of the table's handler; 0 for a table unknown to the service; -1 for an
// event that is refused or whose row is missing.
[[nodiscard]] SWMGR_API int swMgrDBUpdateHandler(const void *event, int length, void *oldValues,
                                                 uint32_t oldValuesLength);

// The tables' event handlers; they select the row handler by the kind of change. Return -1 for
// a kind that the table does not support. Connection, row id and row count are ignored; a table
// is null if there is no such row.
[[nodiscard]] SWMGR_API int swGlobalCfgDBEventHandler(sqlite3 *db, int32_t opCode, int64_t rowId,
                                                      char **newTable, int nCols, int nRows,
                                                      char **oldTable);
[[nodiscard]] SWMGR_API int swPortCfgDBEventHandler(sqlite3 *db, int32_t opCode, int64_t rowId,
                                                    char **newTable, int nCols, int nRows,
                                                    char **oldTable);
[[nodiscard]] SWMGR_API int swVlanCfgDBEventHandler(sqlite3 *db, int32_t opCode, int64_t rowId,
                                                    char **newTable, int nCols, int nRows,
                                                    char **oldTable);
}
