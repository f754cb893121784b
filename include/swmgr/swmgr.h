// The switch manager as a host sees it: three entry points, two flags to set before
// the start, and the flag that says whether the service is running.
//
// A host process loads libswmgr.so, which requires librelay.so and libsal.so, and calls
// swMgrInit, swMgrRun and swMgrDeinit from one thread.
#ifndef SWMGR_SWMGR_H
#define SWMGR_SWMGR_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define SWMGR_API __attribute__((visibility("default")))

// Non-zero: log text goes to standard error; zero: log records go to the
// logging module. Set by the host before swMgrInit; never written here.
extern SWMGR_API int32_t swMgrForeground;

// Non-zero: every message, developer messages included, carries the name of
// the operation and the source line. Set by the host; never written here.
extern SWMGR_API int32_t swMgrDevDebug;

// 1 from the end of a successful swMgrInit until swMgrDeinit. A host stops the service
// by writing 0, which is safe in a signal handler: swMgrRun returns within one listen
// period, or at once if a signal interrupts the wait.
extern SWMGR_API volatile int32_t swMgrInitialized;

// Starts the service: registers with the messaging, opens the database, loads
// and applies the configuration in it.
//
//   dbPath  path of the SQLite configuration database, null-terminated
//
// Returns 0 if the service has been started, even if the stored configuration could not
// be loaded or applied (the log says why); a negative value if messaging or the
// database is not available.
SWMGR_API int swMgrInit(const char *dbPath);

// Serves requests until swMgrInitialized becomes 0. Returns at once if the service has
// not been started.
SWMGR_API void swMgrRun(void);

// Ends the service: releases the messaging registration and the database. The hardware
// keeps its configuration. Always returns 0; a second call does nothing. Must not be
// called while swMgrRun is running.
SWMGR_API int swMgrDeinit(void);

#ifdef __cplusplus
}
#endif

#endif
