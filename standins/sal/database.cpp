// The two database helpers: queries with a result table, and the wait for a
// database that another process has locked.
#include "standins/sal/exported.h"

namespace {

constexpr int firstPauses[] = {1, 2, 5, 10, 20, 50}; // ms; later ones take laterPause
constexpr int firstPauseCount = sizeof(firstPauses) / sizeof(firstPauses[0]);
constexpr int laterPause = 100;   // ms
constexpr int longestWait = 5000; // ms in all

// Pause before attempt `timesBusy` + 1, 0 when the time is used up.
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

// What one query may bring. A view can be endless, and the service that reads it
// has a gateway's memory.
constexpr sqlite3_int64 mostMemory = 64 * 1024 * 1024; // bytes
constexpr int mostValue = 1024 * 1024;                 // bytes of one value
constexpr int stepsPerLook = 10000;                    // of SQLite's machine
constexpr int mostLooks = 100000;                      // 10^9 steps: some ten seconds

struct Bound {
    sqlite3_int64 memoryBefore; // bytes
    int looks;
    const char *reached; // what the query had too much of; null: nothing
};

int boundLook(void *argument)
{
    auto &bound = *static_cast<Bound *>(argument);
    if (sqlite3_memory_used() - bound.memoryBefore > mostMemory)
        bound.reached = "brings more than 64 MiB";
    else if (++bound.looks > mostLooks)
        bound.reached = "comes to no end";
    return bound.reached != nullptr;
}

} // namespace

char **sqlite3QueryResGet(sqlite3 *db, void * /*reserved*/, const char *sql, int *columnCount,
                          int *rowCount)
{
    char **table = nullptr;
    if (db == nullptr || sql == nullptr)
        return nullptr;
    Bound bound = {sqlite3_memory_used(), 0, nullptr};
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH, mostValue);
    sqlite3_progress_handler(db, stepsPerLook, boundLook, &bound);
    const int result = sqlite3_get_table(db, sql, &table, rowCount, columnCount, nullptr);
    sqlite3_progress_handler(db, 0, nullptr, nullptr);
    if (bound.reached != nullptr)
        fprintf(stderr, "libsal: a query %s and was ended: %s\n", bound.reached, sql);
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
