// The platform's symbols, doing as little as their contracts allow. Lists are the
// stand-in's and queries are real, since the library cannot work without them.
#include "null_platform.h"

#include "platform/database.h"
#include "platform/relay.h"
#include "platform/sal.h"

#include <cstdarg>

PlatformCalls platformCalls{};

namespace {

int registration = 0;
constexpr int descriptor = 1000; // stands for every device and socket

} // namespace

extern "C" {

int relayInit(void)
{
    return 0;
}
RelayCtx *relayRegister(int, int, RelayHandler, void *)
{
    return reinterpret_cast<RelayCtx *>(&registration);
}
int relayListen(RelayCtx *, int)
{
    return 0;
}
int relayUnRegister(RelayCtx *)
{
    return 0;
}
int relayDeInit(void)
{
    return 0;
}
int relayIoctl(RelayCtx *, int, int, void *, int, void *, uint32_t *, int, int, int)
{
    ++platformCalls.logRecords;
    return 0;
}

int salOpen(const char *, int, int)
{
    ++platformCalls.other;
    return descriptor;
}
int salClose(int)
{
    ++platformCalls.other;
    return 0;
}
int salIoctl(int, unsigned int, void *)
{
    ++platformCalls.ioctls;
    return 0;
}
int salCmdExec(const char *, int, int)
{
    ++platformCalls.commandLines;
    return 0;
}
FILE *salFileOpen(const char *, const char *)
{
    ++platformCalls.other;
    return nullptr;
}
int salFilePrintf(FILE *, const char *, ...)
{
    ++platformCalls.other;
    return 0;
}
int salFileClose(FILE *)
{
    ++platformCalls.other;
    return 0;
}
int salUnlink(const char *)
{
    ++platformCalls.other;
    return 0;
}
int system(const char *)
{
    ++platformCalls.commandLines;
    return 0;
}
int socket(int, int, int)
{
    ++platformCalls.other;
    return descriptor;
}

char **sqlite3QueryResGet(sqlite3 *db, void *, const char *sql, int *columnCount, int *rowCount)
{
    char **table = nullptr;
    if (sqlite3_get_table(db, sql, &table, rowCount, columnCount, nullptr) == SQLITE_OK)
        return table;
    sqlite3_free_table(table);
    return nullptr;
}
int sqliteBusyHandler(void *, int)
{
    return 0;
}
}
