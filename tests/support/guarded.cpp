#include "support/guarded.h"

#include "support/sanitizer.h"

#include <cstdlib>
#include <map>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// Where each object's pages begin and how long they are. Those of the heap have none; that
// they stand here keeps the leak detector from asking for them.
struct Pages {
    void *begin;
    size_t length;
};

std::map<void *, Pages> &pagesOf()
{
    static auto *one = new std::map<void *, Pages>;
    return *one;
}

} // namespace

namespace platform {

void *guardedNew(size_t size)
{
#ifdef UNDER_ASAN
    void *object = calloc(1, size);
    pagesOf()[object] = {};
    return object;
#else
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t used = (size + page - 1) / page * page;
    auto *begin = static_cast<char *>(
        mmap(nullptr, used + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (begin == MAP_FAILED || mprotect(begin + used, page, PROT_NONE) != 0)
        abort();
    void *object = begin + used - size;
    pagesOf()[object] = {begin, used + page};
    return object;
#endif
}

bool guardedDelete(void *object)
{
    const auto found = pagesOf().find(object);
    if (found == pagesOf().end())
        return false;
    const Pages pages = found->second;
    pagesOf().erase(found);
    if (pages.begin != nullptr)
        munmap(pages.begin, pages.length);
    else
        free(object);
    return true;
}

} // namespace platform
