// Logging. A message is one call of LOG_ERROR, LOG_INFO, LOG_NOTICE or LOG_DEVELOPER with a
// label (noLabel for none), a format and its arguments. Label and arguments are evaluated only
// if the message is emitted.
//
// While developer logging is on, every message has level 256 and begins with the name of the
// operation and the source line. While it is off, developer messages are dropped.
#pragma once

#include "base/state.h"
#include "swmgr/swmgr_client.h"

// Composes label, function name and line (if given) and message into at most 1023 characters,
// and prints them or sends them to the logging module. Drops negative levels. Always returns 0.
extern "C" SWMGR_API int swMgrDebug(const char *prefix, int level, const char *funcName, int line,
                                    const char *fmt, ...) __attribute__((format(printf, 5, 6)));

constexpr const char *noLabel = "";

// For helpers that log on behalf of their caller, with its name and line.
#define LOG_AT(level, label, func, line, ...)                                                      \
    do {                                                                                           \
        const bool developer = swMgrDevDebug != 0;                                                 \
        const int levelShown = developer ? int{SWMGR_LOG_DEVDEBUG} : int{level};                   \
        if (levelShown >= 0)                                                                       \
            static_cast<void>(swMgrDebug((label), levelShown, developer ? (func) : nullptr,        \
                                         developer ? (line) : 0, __VA_ARGS__));                    \
    } while (false)

#define LOG_ERROR(label, ...)     LOG_AT(SWMGR_LOG_ERROR, label, __func__, __LINE__, __VA_ARGS__)
#define LOG_INFO(label, ...)      LOG_AT(SWMGR_LOG_INFO, label, __func__, __LINE__, __VA_ARGS__)
#define LOG_NOTICE(label, ...)    LOG_AT(SWMGR_LOG_NOTICE, label, __func__, __LINE__, __VA_ARGS__)
#define LOG_DEVELOPER(label, ...) LOG_AT(SWMGR_LOG_NONE, label, __func__, __LINE__, __VA_ARGS__)
