// SQLite, the allocator and the shell as the library sees them: the first two are real,
// but each call can be made to fail, and what the library has not released is known. If
// the library is a shared object, its calls are recognised by the caller's address; if it
// is part of the program (LIBRARY_INSIDE), the linker redirects them here, and they count
// while the library is being watched.
#include "support/guarded.h"
#include "support/platform.h"
#include "support/sanitizer.h"

#include "platform/database.h"

#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <map>
#include <set>
#include <utility>

#ifdef LIBRARY_INSIDE
#define SEEN(name) __wrap_##name
#define REAL(name) __real_##name
#else
#define SEEN(name) name
#define REAL(name) next<decltype(&(name))>(#name)
#endif

namespace {

std::map<const void *, size_t> &blocks()
{
    static auto *one = new std::map<const void *, size_t>;
    return *one;
}

std::set<const void *> &sqliteBlocks()
{
    static auto *one = new std::set<const void *>;
    return *one;
}

int connections = 0;
bool watching = false;

template <class Function>
Function next(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

#ifdef LIBRARY_INSIDE
bool isLibrary(const void *)
{
    return watching;
}
#else
// The address range of libswmgr.so.
struct Range {
    uintptr_t begin = 0;
    uintptr_t end = 0;
};

int rangeOf(dl_phdr_info *info, size_t, void *out)
{
    if (std::string(info->dlpi_name).find("libswmgr.so") == std::string::npos)
        return 0;
    auto &range = *static_cast<Range *>(out);
    range.begin = info->dlpi_addr;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto &segment = info->dlpi_phdr[i];
        if (segment.p_type == PT_LOAD)
            range.end = info->dlpi_addr + segment.p_vaddr + segment.p_memsz;
    }
    return 1;
}

Range library; // set before main

bool isLibrary(const void *caller)
{
    const auto address = reinterpret_cast<uintptr_t>(caller);
    return watching && address >= library.begin && address < library.end;
}

__attribute__((constructor)) void findLibrary()
{
    dl_iterate_phdr(rangeOf, &library);
    watching = true;
}
#endif

// Whether the library made a call; not while one of its calls is being recorded.
#define OURS isLibrary(__builtin_return_address(0))

int called(const char *line, int result)
{
    const bool before = std::exchange(watching, false);
    const int answer = platform::called(line, result);
    watching = before;
    return answer;
}

} // namespace

namespace platform {

void watch(bool on)
{
    watching = on;
}

std::vector<Block> blocksHeld()
{
    std::vector<Block> held;
    for (const auto &[address, size] : blocks())
        held.push_back({address, size});
    return held;
}

void blocksForget()
{
    blocks().clear();
}

int connectionsOpen()
{
    return connections;
}

int sqliteHeld()
{
    return static_cast<int>(sqliteBlocks().size());
}

} // namespace platform

extern "C" {

#ifdef LIBRARY_INSIDE
void *__real_calloc(size_t count, size_t size);
void __real_free(void *block);
int __real_sqlite3_open(const char *path, sqlite3 **db);
int __real_sqlite3_close(sqlite3 *db);
void __real_sqlite3_free(void *block);
void __real_sqlite3_free_table(char **table);
void *__wrap_calloc(size_t count, size_t size);
void __wrap_free(void *block);
int __wrap_sqlite3_open(const char *path, sqlite3 **db);
int __wrap_sqlite3_close(sqlite3 *db);
char *__wrap_sqlite3_mprintf(const char *format, ...);
void __wrap_sqlite3_free(void *block);
void __wrap_sqlite3_free_table(char **table);
#elif defined(UNDER_ASAN)
// The model keeps its objects for the life of the process, including switches that could
// not be set up; lists that a test empties lose theirs.
const char *__lsan_default_suppressions(void)
{
    return "leak:switchCreate\nleak:switchPortCreate\nleak:switchVlanCreate\n"
           "leak:switchPortMappedListAppend\nleak:switchLowerLvlSwitchListAppend\n";
}

void *calloc(size_t count, size_t size)
{
    static auto real = next<void *(*)(size_t, size_t)>("calloc");
    if (OURS && called("calloc", 0) < 0)
        return nullptr;
    return real(count, size);
}
#else
void *__libc_calloc(size_t count, size_t size);
void __libc_free(void *block);
#define __real_calloc __libc_calloc
#define __real_free   __libc_free
#endif

#if defined(LIBRARY_INSIDE) || !defined(UNDER_ASAN)
void *SEEN(calloc)(size_t count, size_t size)
{
    if (!OURS)
        return __real_calloc(count, size);
    if (called("calloc", 0) < 0)
        return nullptr;
    void *block = __real_calloc(count, size);
    const bool before = std::exchange(watching, false);
    blocks()[block] = count * size;
    watching = before;
    return block;
}

void SEEN(free)(void *block)
{
    if (OURS) {
        const bool before = std::exchange(watching, false);
        blocks().erase(block);
        const bool isTheTests = platform::guardedDelete(block);
        watching = before;
        if (isTheTests)
            return;
    }
    __real_free(block);
}
#endif

int SEEN(sqlite3_open)(const char *path, sqlite3 **db)
{
    const int status = REAL(sqlite3_open)(path, db);
    if (!OURS)
        return status;
    ++connections;
    return called("sqlite3_open", status);
}

int SEEN(sqlite3_close)(sqlite3 *db)
{
    connections -= OURS && db != nullptr ? 1 : 0;
    return REAL(sqlite3_close)(db);
}

char *SEEN(sqlite3_mprintf)(const char *format, ...)
{
    const bool ours = OURS;
    if (ours && called("sqlite3_mprintf", 0) < 0)
        return nullptr;
    va_list arguments;
    va_start(arguments, format);
    char *text = sqlite3_vmprintf(format, arguments);
    va_end(arguments);
    if (ours)
        sqliteBlocks().insert(text);
    return text;
}

void SEEN(sqlite3_free)(void *block)
{
    sqliteBlocks().erase(block);
    REAL(sqlite3_free)(block);
}

void SEEN(sqlite3_free_table)(char **table)
{
    sqliteBlocks().erase(table);
    REAL(sqlite3_free_table)(table);
}

char **sqlite3QueryResGet(sqlite3 *db, void *reserved, const char *sql, int *columnCount,
                          int *rowCount)
{
    char **table = nullptr;
    const std::string line = std::string("query ") + sql + (reserved == nullptr ? "" : " reserved");
    if (called(line.c_str(), 0) < 0 ||
        sqlite3_get_table(db, sql, &table, rowCount, columnCount, nullptr) != SQLITE_OK)
        return nullptr;
    sqliteBlocks().insert(table);
    return table;
}

int system(const char *command)
{
    if (!OURS) // a fuzzer starts processes of its own when it merges inputs
        return next<int (*)(const char *)>("system")(command);
    return called((std::string("system ") + command).c_str(), 0);
}

int sqliteBusyHandler(void *, int)
{
    return 0;
}
}
