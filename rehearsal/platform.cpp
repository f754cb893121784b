// The platform seam on which the library runs during a rehearsal: every action is
// recorded and answered by the models. The symbols are in the program, so they override
// those of the device's libraries, which are never called.
#include "platform/database.h"
#include "platform/relay.h"
#include "platform/sal.h"
#include "rehearsal/machine.h"
#include "rehearsal/recorder.h"
#include "service/reload.h"
#include "standins/sal/device_protocol.h"
#include "store/rows.h"

#include <dlfcn.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

using namespace rehearsal;

namespace {

constexpr int networkSocket = 1001; // the descriptor of every socket
int registration = 0;               // the registration's handle points here

// The text of /proc/uptime, and where uptime records go.
struct Files {
    char uptime[8] = "0.00\n";
    FILE *reading = fmemopen(uptime, strlen(uptime), "r");
    FILE *writing = fopen("/dev/null", "w");
};

Files &files()
{
    static Files *all = new Files;
    return *all;
}

// The record of an uptime file, or none for any other file.
void uptimeFileNote(const char *path, bool present)
{
    unsigned vlanId = 0;
    if (sscanf(path, "/var/VLAN.%u.Uptime", &vlanId) == 1 && vlanId < engine::vlanIdCount)
        machine().uptimeFiles.set(vlanId, present);
}

} // namespace

RelayHandler registeredHandler = nullptr; // set when the library starts

extern "C" {

int relayInit(void)
{
    return 0;
}

RelayCtx *relayRegister(int, int, RelayHandler handler, void *)
{
    registeredHandler = handler;
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

// The service sends only log records.
int relayIoctl(RelayCtx *, int, int, void *data, int, void *text, uint32_t *length, int, int, int)
{
    int32_t level = 0;
    memcpy(&level, static_cast<char *>(data) + sizeof(int32_t), sizeof(level));
    record(Kind::log, level, {static_cast<char *>(text), *length - 1});
    return 0;
}

int salOpen(const char *path, int, int)
{
    const int descriptor = deviceOpen(path);
    record(Kind::opened, descriptor, path);
    return descriptor;
}

int salClose(int)
{
    return 0;
}

int salIoctl(int, unsigned int request, void *argument)
{
    if (request == SIOCGIFHWADDR) {
        auto &about = *static_cast<ifreq *>(argument);
        unsigned char address[6] = {};
        const int status = addressGet(about.ifr_name, address);
        memcpy(about.ifr_hwaddr.sa_data, address, sizeof(address));
        return status;
    }
    const size_t size = device::recordSize(request);
    const int64_t number = size == 0 ? reinterpret_cast<intptr_t>(argument) : 0;
    auto *bytes = size != 0 ? static_cast<uint8_t *>(argument) : nullptr;
    const int result = machine().chip.handle(request, number, bytes, size);
    uint8_t copy[sizeof(number) + 64];
    memcpy(copy, &number, sizeof(number));
    const size_t shown = size < 64 ? size : 64;
    if (shown != 0)
        memcpy(copy + sizeof(number), bytes, shown);
    record(Kind::driver, result, request, copy, sizeof(number) + shown);
    return result;
}

int salCmdExec(const char *line, int, int)
{
    const int status = commandRun(line);
    record(Kind::command, status, line);
    return status;
}

FILE *salFileOpen(const char *path, const char *mode)
{
    if (*mode == 'r') {
        rewind(files().reading);
        return files().reading;
    }
    uptimeFileNote(path, true);
    record(Kind::written, 0, path);
    return files().writing;
}

int salFilePrintf(FILE *, const char *, ...)
{
    return 0;
}

int salFileClose(FILE *)
{
    return 0;
}

int salUnlink(const char *path)
{
    uptimeFileNote(path, false);
    record(Kind::removed, 0, path);
    return 0;
}

char **sqlite3QueryResGet(sqlite3 *db, void *, const char *sql, int *columnCount, int *rowCount)
{
    char **table = nullptr;
    return sqlite3_get_table(db, sql, &table, rowCount, columnCount, nullptr) == SQLITE_OK
               ? table
               : nullptr;
}

int sqliteBusyHandler(void *, int)
{
    return 0; // nobody else uses this database
}

int socket(int, int, int) noexcept
{
    return networkSocket;
}

int system(const char *line)
{
    const int status = pipelineRun(line);
    record(Kind::shell, status, line);
    return status;
}

// Override the library's row handlers and its load, record the call and pass it on:
// nothing else says which row a message is about.
int swGlobalCfgDBInsertHandler(char **table, int nCols, int row)
{
    static const auto real = reinterpret_cast<decltype(&swGlobalCfgDBInsertHandler)>(
        dlsym(RTLD_NEXT, "swGlobalCfgDBInsertHandler"));
    const int status = real(table, nCols, row);
    record(Kind::row, status, static_cast<uint32_t>(row), "swGlobalCfg", strlen("swGlobalCfg"));
    return status;
}

int swPortCfgDBInsertHandler(char **table, int nCols, int row)
{
    static const auto real = reinterpret_cast<decltype(&swPortCfgDBInsertHandler)>(
        dlsym(RTLD_NEXT, "swPortCfgDBInsertHandler"));
    const int status = real(table, nCols, row);
    record(Kind::row, status, static_cast<uint32_t>(row), "swPortConfig", strlen("swPortConfig"));
    return status;
}

int swVlanCfgDBInsertHandler(char **table, int nCols, int row)
{
    static const auto real = reinterpret_cast<decltype(&swVlanCfgDBInsertHandler)>(
        dlsym(RTLD_NEXT, "swVlanCfgDBInsertHandler"));
    const int status = real(table, nCols, row);
    record(Kind::row, status, static_cast<uint32_t>(row), "vlanEncapIf", strlen("vlanEncapIf"));
    return status;
}

int swMgrCfgReload(void)
{
    static const auto real =
        reinterpret_cast<decltype(&swMgrCfgReload)>(dlsym(RTLD_NEXT, "swMgrCfgReload"));
    const int status = real();
    record(Kind::loaded, status, {});
    return status;
}
}
