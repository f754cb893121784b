// SQLite, the allocator and the shell as the library sees them: the first two are
// real, but each call can be made to fail, and what the library has not given
// back is known.
#include "support/platform.h"

#include "platform/database.h"

#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <map>
#include <set>

#if defined(__SANITIZE_ADDRESS__)
#define UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define UNDER_ASAN 1
#endif
#endif

extern "C" int platformProcessCall(const char *line, int result);

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

// Where libswmgr.so lies.
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
bool busy = false;

bool fromLibrary(const void *caller)
{
    const auto address = reinterpret_cast<uintptr_t>(caller);
    return !busy && address >= library.begin && address < library.end;
}

__attribute__((constructor)) void findLibrary()
{
    dl_iterate_phdr(rangeOf, &library);
}

template <class Function>
Function next(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

namespace platform {

std::vector<Block> blocksHeld()
{
    std::vector<Block> held;
    for (const auto &[address, size] : blocks())
        held.push_back({address, size});
    return held;
}

bool blocksAreTracked()
{
#ifdef UNDER_ASAN
    return false;
#else
    return true;
#endif
}

int sqliteHeld()
{
    return static_cast<int>(sqliteBlocks().size());
}

} // namespace platform

extern "C" {

#ifdef UNDER_ASAN
// The model keeps its objects for the life of the process, and the switches
// that could not be set up too; lists that a test empties lose theirs.
const char *__lsan_default_suppressions(void)
{
    return "leak:switchCreate\nleak:switchPortCreate\nleak:switchVlanCreate\n"
           "leak:switchPortMappedListAppend\nleak:switchLowerLvlSwitchListAppend\n";
}

void *calloc(size_t count, size_t size)
{
    static auto real = next<void *(*)(size_t, size_t)>("calloc");
    if (fromLibrary(__builtin_return_address(0)) && platformProcessCall("calloc", 0) < 0)
        return nullptr;
    return real(count, size);
}
#else
void *__libc_calloc(size_t count, size_t size);
void __libc_free(void *block);

void *calloc(size_t count, size_t size)
{
    if (!fromLibrary(__builtin_return_address(0)))
        return __libc_calloc(count, size);
    busy = true;
    const bool fails = platformProcessCall("calloc", 0) < 0;
    void *block = fails ? nullptr : __libc_calloc(count, size);
    if (block != nullptr)
        blocks()[block] = count * size;
    busy = false;
    return block;
}

void free(void *block)
{
    if (fromLibrary(__builtin_return_address(0))) {
        busy = true;
        blocks().erase(block);
        busy = false;
    }
    __libc_free(block);
}
#endif

int sqlite3_open(const char *path, sqlite3 **db)
{
    static auto real = next<int (*)(const char *, sqlite3 **)>("sqlite3_open");
    const int status = real(path, db);
    if (!fromLibrary(__builtin_return_address(0)))
        return status;
    return platformProcessCall("sqlite3_open", status);
}

char *sqlite3_mprintf(const char *format, ...)
{
    const bool ours = fromLibrary(__builtin_return_address(0));
    if (ours && platformProcessCall("sqlite3_mprintf", 0) < 0)
        return nullptr;
    va_list arguments;
    va_start(arguments, format);
    char *text = sqlite3_vmprintf(format, arguments);
    va_end(arguments);
    if (ours)
        sqliteBlocks().insert(text);
    return text;
}

void sqlite3_free(void *block)
{
    static auto real = next<void (*)(void *)>("sqlite3_free");
    sqliteBlocks().erase(block);
    real(block);
}

void sqlite3_free_table(char **table)
{
    static auto real = next<void (*)(char **)>("sqlite3_free_table");
    sqliteBlocks().erase(table);
    real(table);
}

char **sqlite3QueryResGet(sqlite3 *db, void *reserved, const char *sql, int *columnCount,
                          int *rowCount)
{
    char **table = nullptr;
    const std::string line = std::string("query ") + sql + (reserved == nullptr ? "" : " reserved");
    if (platformProcessCall(line.c_str(), 0) < 0)
        return nullptr;
    if (sqlite3_get_table(db, sql, &table, rowCount, columnCount, nullptr) != SQLITE_OK)
        return nullptr;
    sqliteBlocks().insert(table);
    return table;
}

int system(const char *command)
{
    return platformProcessCall((std::string("system ") + command).c_str(), 0);
}

int sqliteBusyHandler(void *, int)
{
    return 0;
}
}
