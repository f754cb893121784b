// The two database helpers: queries with a result table, and waiting for a database that
// another process has locked.
#include "standins/sal/exported.h"

namespace {

constexpr int firstPauses[] = {1, 2, 5, 10, 20, 50}; // ms; later ones take laterPause
constexpr int firstPauseCount = sizeof(firstPauses) / sizeof(firstPauses[0]);
constexpr int laterPause = 100;   // ms
constexpr int longestWait = 5000; // ms in all

// Pause before attempt `timesBusy` + 1, 0 if the time is used up.
int pauseBefore(int timesBusy)
{
    int waited = 0;
    for (int i = 0; i < timesBusy && i < firstPauseCount; ++i)
        waited += firstPauses[i];
    if (timesBusy > firstPauseCount) {
        const int later = timesBusy - firstPauseCount;
        waited = later < longestWait / laterPause ? waited + later * laterPause : longestWait;
    }
    const int pause = timesBusy < firstPauseCount ? firstPauses[timesBusy] : laterPause;
    const int left = waited < longestWait ? longestWait - waited : 0;
    return pause < left ? pause : left;
}

// How much one query may return. A view can be endless, and the service that reads it
// has only a gateway's memory.
constexpr sqlite3_int64 mostMemory = 64 * 1024 * 1024; // bytes
constexpr int mostValue = 1024 * 1024;                 // bytes of one value
constexpr int stepsPerLook = 10000;                    // of SQLite's virtual machine
constexpr int mostLooks = 100000;                      // 10^9 steps: about ten seconds

// Limits the connection and the process for the duration of a query.
class QueryBounds {
public:
    explicit QueryBounds(sqlite3 *connection)
        : db(connection), valueBefore(sqlite3_limit(db, SQLITE_LIMIT_LENGTH, mostValue)),
          memoryBefore(sqlite3_hard_heap_limit64(sqlite3_memory_used() + mostMemory))
    {
        sqlite3_progress_handler(db, stepsPerLook, look, this);
    }
    ~QueryBounds()
    {
        sqlite3_progress_handler(db, 0, nullptr, nullptr);
        sqlite3_hard_heap_limit64(memoryBefore);
        sqlite3_limit(db, SQLITE_LIMIT_LENGTH, valueBefore);
    }
    QueryBounds(const QueryBounds &) = delete;
    QueryBounds &operator=(const QueryBounds &) = delete;

private:
    static int look(void *bounds)
    {
        return ++static_cast<QueryBounds *>(bounds)->looks > mostLooks;
    }

    sqlite3 *db;
    int looks = 0;
    int valueBefore;
    sqlite3_int64 memoryBefore;
};

const char *reasonOf(int result, const char *message)
{
    switch (result) {
    case SQLITE_INTERRUPT:
        return "it does not end";
    case SQLITE_NOMEM:
        return "it returns more than 64 MiB";
    case SQLITE_TOOBIG:
        return "it returns a value of more than 1 MiB";
    default:
        return message != nullptr ? message : sqlite3_errstr(result);
    }
}

} // namespace

char **sqlite3QueryResGet(sqlite3 *db, void * /*reserved*/, const char *sql, int *columnCount,
                          int *rowCount)
{
    char **table = nullptr;
    if (db == nullptr || sql == nullptr)
        return nullptr;
    char *message = nullptr;
    int result = SQLITE_OK;
    {
        const QueryBounds bounds(db);
        result = sqlite3_get_table(db, sql, &table, rowCount, columnCount, &message);
    }
    if (result != SQLITE_OK)
        salFilePrintf(stderr, "libsal: a query failed: %s: %s\n", reasonOf(result, message), sql);
    sqlite3_free(message);
    return result == SQLITE_OK ? table : nullptr;
}

int sqliteBusyHandler(void * /*arg*/, int timesBusy)
{
    const int pause = timesBusy >= 0 ? pauseBefore(timesBusy) : 0;
    if (pause == 0)
        return 0;
    sqlite3_sleep(pause);
    return 1;
}
