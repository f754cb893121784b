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

} // namespace

char **sqlite3QueryResGet(sqlite3 *db, void * /*reserved*/, const char *sql, int *columnCount,
                          int *rowCount)
{
    char **table = nullptr;
    if (db == nullptr || sql == nullptr)
        return nullptr;
    if (sqlite3_get_table(db, sql, &table, rowCount, columnCount, nullptr) != SQLITE_OK)
        return nullptr;
    return table;
}

int sqliteBusyHandler(void * /*arg*/, int timesBusy)
{
    const int pause = timesBusy >= 0 ? pauseBefore(timesBusy) : 0;
    if (pause == 0)
        return 0;
    sqlite3_sleep(pause);
    return 1;
}
