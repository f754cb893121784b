// A table of failed command lines, oldest failure first.
#include "standins/logd/failures.h"

#include "common/load_line.h"
#include "common/log_rank.h"
#include "common/tool_entry.h"
#include "standins/logd/ring.h"

#include <cstdlib>
#include <cstring>

namespace logd {

namespace {

struct Failure {
    SwMgrLogEntry entry;
    ToolEntry about;
    char *text; // entry.textLength bytes
};

// Written by failureNote, on the daemon's only thread. Without gaps.
constinit Failure failures[failureCapacity] = {};
constinit uint32_t count = 0;
constinit uint64_t unkept = 0; // failures for which there was no room or memory

// The last errors before the current record, oldest first: they say why a load failed.
struct Reason {
    SwMgrLogEntry entry; // number 0: none
    char text[256];
};
constexpr uint32_t reasonCount = 3;
constinit Reason reasons[reasonCount] = {};

constexpr ToolEntry loadEntry = {.key = "load", .vlanId = 0};

void forget(const ToolEntry &about)
{
    uint32_t kept = 0;
    for (uint32_t i = 0; i < count; ++i)
        if (failures[i].about.sameAs(about))
            free(failures[i].text);
        else
            failures[kept++] = failures[i];
    count = kept;
}

void keep(const SwMgrLogEntry &entry, const char *text, const ToolEntry &about)
{
    char *copy = count < failureCapacity ? static_cast<char *>(malloc(entry.textLength)) : nullptr;
    if (copy == nullptr) {
        ++unkept;
        return;
    }
    memcpy(copy, text, entry.textLength);
    failures[count++] = {entry, about, copy};
}

// A failed load is kept until the next one fails; a reader can tell by its time whether
// it was the running service's.
void noteError(const SwMgrLogEntry &entry, const char *text)
{
    // While developer messages are on, errors have the developer level, too.
    if (entry.level > SWMGR_LOG_ERROR && entry.level != SWMGR_LOG_DEVDEBUG)
        return;
    if (!isLoadFailure({text, entry.textLength})) {
        if (entry.level > SWMGR_LOG_ERROR)
            return;
        for (uint32_t i = 1; i < reasonCount; ++i)
            reasons[i - 1] = reasons[i];
        Reason &newest = reasons[reasonCount - 1];
        newest.entry = entry;
        if (newest.entry.textLength > sizeof(newest.text))
            newest.entry.textLength = sizeof(newest.text);
        memcpy(newest.text, text, newest.entry.textLength);
        return;
    }
    forget(loadEntry);
    for (const Reason &reason : reasons)
        if (reason.entry.number != 0)
            keep(reason.entry, reason.text, loadEntry);
    keep(entry, text, loadEntry);
}

} // namespace

void failureNote(const SwMgrLogEntry &entry, const char *text)
{
    ToolLine tool;
    if (entry.module != SWMGR_RELAY_MODULE_ID)
        return;
    if (!toolLineRead(text, entry.textLength, tool)) {
        noteError(entry, text);
        return;
    }
    if (toolRemovesInterface(tool))
        return;
    ToolEntry about;
    toolEntryRead(tool, about);
    if (count != 0)
        forget(about);
    if (tool.status != 0)
        keep(entry, text, about);
}

int failuresAnswer(const void *request, int requestLength, void *answer, uint32_t *answerLength)
{
    return keptAnswer(
        request, requestLength, answer, answerLength, unkept, count,
        [](uint32_t i, const char *&text) -> const SwMgrLogEntry & {
            text = failures[i].text;
            return failures[i].entry;
        });
}

} // namespace logd
