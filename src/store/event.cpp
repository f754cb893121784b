// Reads the changed row, or rebuilds it from the old values, and passes it to its table's
// handler. Each event is fully handled within one call.
#include "store/event.h"

#include "base/log.h"
#include "model/status.h"
#include "platform/text.h"
#include "store/database.h"
#include "store/old_values.h"
#include "store/rows.h"

namespace {

struct SwMgrTableEntry {
    const char *tableName; // null ends the registry
    int (*eventHandler)(sqlite3 *db, int32_t opCode, int64_t rowId, char **newTable, int nCols,
                        int nRows, char **oldTable);
};

// Searched in order.
constexpr SwMgrTableEntry swMgrDBTableTbl[] = {
    {"swGlobalCfg", swGlobalCfgDBEventHandler},
    {"swPortConfig", swPortCfgDBEventHandler},
    {"vlanEncapIf", swVlanCfgDBEventHandler},
    {nullptr, nullptr},
};

// A received event and the row data found for it.
struct Event {
    char tableName[SWMGR_TABLE_NAME_SIZE + 1];
    int32_t opCode;
    int64_t rowId;
    OldValues oldValues;

    ResultTable newTable; // null for a deleted row
    PointerArray oldTable;
    int nCols;
    int nRows;

    // Row ids are logged and queried by their low 32 bits.
    [[nodiscard]] int shownRowId() const { return static_cast<int>(rowId & 0xffffffff); }
};

constexpr const char *tableNameCharacters = "abcdefghijklmnopqrstuvwxyz"
                                            "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                            "0123456789_";

// The name becomes part of a query, so it must be a plain identifier.
bool tableNameIsPlain(const Event &event)
{
    const size_t length = strspn(event.tableName, tableNameCharacters);
    return length < SWMGR_TABLE_NAME_SIZE && event.tableName[length] == '\0';
}

int refused(const char *func, int line, const char *reason)
{
    LOG_AT(SWMGR_LOG_ERROR, noLabel, func, line, "%s", reason);
    return statusFailed;
}

int oldTableBuild(Event &event, const char *func)
{
    event.oldTable = event.oldValues.tableBuild(event.nCols);
    if (event.oldTable != nullptr)
        return 0;
    refused(func, __LINE__, "no memory for the old values\n");
    return statusNoMemory;
}

// Inserts, updates and unknown kinds of change.
int changedRowRead(Event &event, const char *func)
{
    // Same result as a failed query, which most such names would cause anyway.
    if (!tableNameIsPlain(event))
        return statusFailed;
    const SqlText query(
        sqlite3_mprintf("SELECT * from %s WHERE rowid=%d", event.tableName, event.shownRowId()));
    if (query == nullptr)
        return statusFailed;
    event.newTable.reset(
        sqlite3QueryResGet(pDB, /*reserved=*/nullptr, query.get(), &event.nCols, &event.nRows));
    if (event.newTable == nullptr)
        return statusFailed;
    if (event.oldValues.present()) {
        uint32_t position = 0;
        if (!event.oldValues.terminated())
            return refused(func, __LINE__, "old values end without a terminator\n");
        if (event.oldValues.count(position) / 2 < event.nCols)
            return refused(func, __LINE__, "old values do not cover the columns of the table\n");
        const int status = oldTableBuild(event, func);
        if (status < 0)
            return status;
    }
    return event.nRows > 0 && event.nCols > 0 ? 0 : statusFailed;
}

int deletedRowRead(Event &event, const char *func)
{
    if (event.oldValues.present() && !event.oldValues.terminated())
        return refused(func, __LINE__, "old values end without a terminator\n");
    uint32_t position = 0;
    const int strings = event.oldValues.count(position);
    if (strings % 2 != 0) {
        LOG_AT(SWMGR_LOG_ERROR, noLabel, func, __LINE__,
               "old values result does not contain 2 rows.j=%d nCols=%d outLen=%d\n",
               static_cast<int>(position), strings, static_cast<int>(event.oldValues.length));
        return statusFailed;
    }
    event.nCols = strings / 2;
    event.nRows = 1;
    return event.oldValues.present() ? oldTableBuild(event, func) : 0;
}

int dispatch(const Event &event, const char *func)
{
    LOG_AT(SWMGR_LOG_INFO, noLabel, func, __LINE__,
           "DBUpdate event: Table: %s opCode:%d rowId:%d processing \n", event.tableName,
           event.opCode, event.shownRowId());
    for (const SwMgrTableEntry *entry = swMgrDBTableTbl; entry->tableName != nullptr; ++entry) {
        if (strcmp(entry->tableName, event.tableName) == 0)
            return entry->eventHandler(pDB, event.opCode, event.rowId, event.newTable.get(),
                                       event.nCols, event.nRows, event.oldTable.get());
    }
    return 0;
}

int eventHandle(Event &event, const char *func)
{
    LOG_AT(SWMGR_LOG_NONE, noLabel, func, __LINE__,
           "DBUpdate event: Table: %s opCode:%d rowId:%d\n", event.tableName, event.opCode,
           event.shownRowId());
    const int status =
        event.opCode == SWMGR_DB_DELETE ? deletedRowRead(event, func) : changedRowRead(event, func);
    return status < 0 ? status : dispatch(event, func);
}

} // namespace

extern "C" int swMgrDBUpdateHandler(const void *eventData, int length, void *oldValues,
                                    uint32_t oldValuesLength)
{
    if (eventData == nullptr || length != static_cast<int>(sizeof(SwMgrDbEvent))) {
        LOG_ERROR(noLabel, "incomplete DB update information \n");
        return statusFailed;
    }
    SwMgrDbEvent received;
    memcpy(&received, eventData, sizeof(received));
    Event event{};
    textCopy(event.tableName, received.tableName);
    event.opCode = received.opCode;
    event.rowId = received.rowId;
    if (oldValues != nullptr)
        event.oldValues = {static_cast<char *>(oldValues), oldValuesLength};

    const int status = eventHandle(event, __func__);
    LOG_INFO(noLabel, "DBUpdate event: Table: %s opCode:%d rowId:%d status=%d\n", event.tableName,
             event.opCode, event.shownRowId(), status);
    return status;
}

extern "C" int swGlobalCfgDBEventHandler(sqlite3 *, int32_t opCode, int64_t, char **newTable,
                                         int nCols, int, char **)
{
    return opCode == SWMGR_DB_INSERT ? swGlobalCfgDBInsertHandler(newTable, nCols, /*row=*/0)
                                     : statusFailed;
}

extern "C" int swPortCfgDBEventHandler(sqlite3 *, int32_t opCode, int64_t, char **newTable,
                                       int nCols, int, char **)
{
    return opCode == SWMGR_DB_INSERT ? swPortCfgDBInsertHandler(newTable, nCols, /*row=*/0)
                                     : statusFailed;
}

extern "C" int swVlanCfgDBEventHandler(sqlite3 *, int32_t opCode, int64_t, char **newTable,
                                       int nCols, int, char **oldTable)
{
    switch (opCode) {
    case SWMGR_DB_INSERT:
        return swVlanCfgDBInsertHandler(newTable, nCols, /*row=*/0);
    case SWMGR_DB_UPDATE:
        return swVlanCfgDBUpdateHandler(newTable, oldTable, nCols, /*row=*/0);
    case SWMGR_DB_DELETE:
        return swVlanCfgDBDeleteHandler(oldTable, nCols, /*row=*/0);
    default:
        return statusFailed;
    }
}
