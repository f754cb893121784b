// The symbols of the platform, and the checks of what reaches it.
#include "platform.h"

#include "input.h"
#include "platform/database.h"
#include "platform/sal.h"
#include "swmgr/swmgr_client.h"

#include <algorithm>
#include <cstdarg>
#include <dlfcn.h>
#include <iterator>
#include <net/if.h>
#include <set>
#include <sys/ioctl.h>

using fuzz::require;

namespace {

constexpr int descriptor = 1000; // stands for every device and socket
constexpr size_t longestLine = 511;

struct State {
    fuzz::Fault fault{};
    const char *fileText = "512.34 1000.00\n";
    uint8_t driverByte = 0;
    RelayHandler handler = nullptr;
    bool tracking = false;
    std::map<void *, size_t> blocks;
    std::set<FILE *> files;
    std::set<std::string> shellLines;
    bool shellLinesFrozen = false;
};

State &state()
{
    static auto *one = new State;
    return *one;
}

int answer(int usual)
{
    fuzz::Fault &fault = state().fault;
    if (fault.count == 0)
        return usual;
    if (fault.after > 0) {
        --fault.after;
        return usual;
    }
    --fault.count;
    return fault.result;
}

bool consistsOf(const char *text, const char *end, const char *allowed)
{
    return text + strspn(text, allowed) >= end;
}

bool isTool(const char *word, size_t length)
{
    constexpr const char *tools[] = {
        "vconfig",         "ifconfig", "/sbin/vconfig",     "vlan_table_func", "arl_table_func",
        "rate_limit_func", "tc_func",  "queue_weight_func", "pri_ctl_func",    "sppe_ioctl"};
    return std::any_of(std::begin(tools), std::end(tools), [word, length](const char *tool) {
        return strlen(tool) == length && memcmp(tool, word, length) == 0;
    });
}

// Whatever a request or a row holds, a line is one of the device's tools with
// words that mean nothing to a shell.
void commandLineCheck(const char *line)
{
    const size_t word = strcspn(line, " ");
    const size_t length = strlen(line);
    require(isTool(line, word), "a command line starts with a known tool");
    require(length > word && length <= longestLine, "a command line has arguments, not too many");
    require(consistsOf(line + word, line + length,
                       "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 _.:@-"),
            "the arguments of a command line are harmless");
}

void pathCheck(const std::string &path)
{
    const std::string head = "/var/VLAN.";
    const std::string tail = ".Uptime";
    const bool isRecord = path.size() > head.size() + tail.size() && path.rfind(head, 0) == 0 &&
                          path.compare(path.size() - tail.size(), tail.size(), tail) == 0;
    require(isRecord && consistsOf(path.c_str() + head.size(),
                                   path.c_str() + path.size() - tail.size(), "-0123456789"),
            "a file is the uptime record of a VLAN");
}

// A query reads one table, whole or one row of it.
void queryCheck(const char *query)
{
    constexpr const char *head = "SELECT * from ";
    constexpr const char *condition = " WHERE rowid=";
    require(strncmp(query, head, strlen(head)) == 0, "a query reads a table");
    const char *rest = query + strlen(head);
    rest += strspn(rest, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_");
    if (strncmp(rest, condition, strlen(condition)) == 0) {
        rest += strlen(condition);
        rest += strspn(rest, "-0123456789");
    }
    require(*rest == '\0', "a query holds a name and a number and nothing else");
}

void hardwareAddressFill(ifreq &request)
{
    require(memchr(request.ifr_name, '\0', sizeof(request.ifr_name)) != nullptr,
            "the name of an interface is terminated");
    memset(request.ifr_hwaddr.sa_data, state().driverByte, 6);
}

void driverRecordTouch(unsigned int request, void *record)
{
    const size_t size = _IOC_SIZE(request);
    if (size == 0)
        return;
    static volatile uint8_t sum = 0;
    auto *bytes = static_cast<uint8_t *>(record);
    for (size_t i = 0; i < size; ++i)
        sum = static_cast<uint8_t>(sum + bytes[i]);
    if ((_IOC_DIR(request) & _IOC_READ) != 0)
        memset(bytes, state().driverByte, size);
}

} // namespace

namespace fuzz {

void faultArm(const Fault &fault)
{
    state().fault = fault;
}
void fileTextSet(const char *text)
{
    state().fileText = text;
}
void driverByteSet(uint8_t byte)
{
    state().driverByte = byte;
}
RelayHandler registeredHandler()
{
    return state().handler;
}
const std::map<void *, size_t> &blocksHeld()
{
    return state().blocks;
}
void blocksForget()
{
    state().blocks.clear();
    state().tracking = true;
}
int filesOpen()
{
    return static_cast<int>(state().files.size());
}
void shellLinesFreeze()
{
    state().shellLinesFrozen = true;
}
size_t shellLinesSeen()
{
    return state().shellLines.size();
}

} // namespace fuzz

extern "C" {

void *__real_calloc(size_t count, size_t size);
void __real_free(void *block);
void *__wrap_calloc(size_t count, size_t size);
void __wrap_free(void *block);

void *__wrap_calloc(size_t count, size_t size)
{
    if (!state().tracking)
        return __real_calloc(count, size);
    if (answer(0) < 0)
        return nullptr;
    void *block = __real_calloc(count, size);
    state().blocks[block] = count * size;
    return block;
}

void __wrap_free(void *block)
{
    if (state().tracking)
        state().blocks.erase(block);
    __real_free(block);
}
}

void fuzz::blocksFree()
{
    state().tracking = false;
    for (const auto &[block, size] : state().blocks)
        __real_free(block);
    state().blocks.clear();
}

extern "C" {

int relayInit(void)
{
    return 0;
}
RelayCtx *relayRegister(int, int, RelayHandler handler, void *)
{
    state().handler = handler;
    return reinterpret_cast<RelayCtx *>(&state());
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
int relayIoctl(RelayCtx *, int destModule, int requestType, void *data, int dataLen, void *buf,
               uint32_t *bufLen, int, int, int)
{
    SwMgrLogRecord record;
    require(destModule == LOGGING_RELAY_MODULE_ID && requestType == LOGGING_MSG_LOG &&
                dataLen == sizeof(record),
            "a message is a log record");
    memcpy(&record, data, sizeof(record));
    require(record.level == SWMGR_LOG_ERROR || record.level == SWMGR_LOG_INFO ||
                record.level == SWMGR_LOG_NOTICE || record.level == SWMGR_LOG_DEVDEBUG,
            "a log record has a level");
    require(*bufLen <= 1024 && strnlen(static_cast<char *>(buf), *bufLen) + 1 == *bufLen,
            "a log text is one terminated string");
    return 0;
}

void salListInit(SalList *list)
{
    *list = {nullptr, nullptr};
}
SalListLink *salListFirst(SalList *list)
{
    return list->first;
}
SalListLink *salListNext(SalListLink *link)
{
    return link->next;
}
void salListNodeAppend(SalList *list, SalListLink *link)
{
    link->next = nullptr;
    link->prev = list->last;
    (list->last != nullptr ? list->last->next : list->first) = link;
    list->last = link;
}
void salListNodeRemove(SalList *list, SalListLink *link)
{
    (link->prev != nullptr ? link->prev->next : list->first) = link->next;
    (link->next != nullptr ? link->next->prev : list->last) = link->prev;
}

int salOpen(const char *, int, int)
{
    return answer(descriptor);
}
int salClose(int closed)
{
    require(closed >= 0, "a descriptor that is closed is one");
    return answer(0);
}
int salIoctl(int, unsigned int request, void *arg)
{
    const int result = answer(0);
    if (request == SIOCGIFHWADDR)
        hardwareAddressFill(*static_cast<ifreq *>(arg));
    else
        driverRecordTouch(request, arg);
    return result;
}
int salCmdExec(const char *commandLine, int, int)
{
    commandLineCheck(commandLine);
    return answer(0);
}
FILE *salFileOpen(const char *path, const char *mode)
{
    static char written[64];
    const bool reading = strcmp(mode, "r") == 0;
    if (!reading || strcmp(path, "/proc/uptime") != 0)
        pathCheck(path);
    const char *text = state().fileText;
    if (answer(0) < 0 || (reading && *text == '\0'))
        return nullptr;
    FILE *stream = reading ? fmemopen(const_cast<char *>(text), strlen(text), "r")
                           : fmemopen(written, sizeof(written), mode);
    state().files.insert(stream);
    return stream;
}
int salFilePrintf(FILE *stream, const char *format, ...)
{
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    const int result = answer(0);
    if (stream == stderr || result < 0)
        return result;
    require(state().files.count(stream) == 1, "a file that is written is open");
    return fputs(text, stream);
}
int salFileClose(FILE *stream)
{
    require(state().files.erase(stream) == 1, "a file that is closed was open");
    fclose(stream);
    return answer(0);
}
int salUnlink(const char *path)
{
    pathCheck(path);
    return answer(0);
}
int system(const char *commandLine)
{
    // The fuzzer itself starts processes when it merges inputs.
    if (!state().tracking)
        return reinterpret_cast<int (*)(const char *)>(dlsym(RTLD_NEXT, "system"))(commandLine);
    const bool known = state().shellLines.count(commandLine) == 1;
    require(known || !state().shellLinesFrozen, "the shell gets fixed lines only");
    if (!known)
        state().shellLines.insert(commandLine);
    return answer(0);
}
int socket(int, int, int)
{
    return answer(descriptor);
}

char **sqlite3QueryResGet(sqlite3 *db, void *, const char *sql, int *columnCount, int *rowCount)
{
    queryCheck(sql);
    if (answer(0) < 0)
        return nullptr;
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
