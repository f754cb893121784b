// Switch manager, the log's view: how a client follows the log of the device's
// services.
//
// Services send their records to the logging module (relay module
// LOGGING_RELAY_MODULE_ID) as requests of type LOGGING_MSG_LOG, in relay mode 2:
// nobody waits, and what cannot be sent at once is lost. The messaging counts
// what it lost: the header of the next record that gets through carries the
// number in `reserved3` (see SwMgrLogEntry.dropped).
//
// A follower asks the log daemon again and again for the records after the last
// one that it has seen: relay mode 1, type LOGGING_MSG_FOLLOW, a
// SwMgrLogFollowRequest as data. The answer comes in the reply buffer: a
// SwMgrLogAnswer, then `count` times a SwMgrLogEntry and its text, each entry
// starting on a multiple of eight bytes. The daemon keeps the last records only.
// Everything is little-endian.
//
// Levels travel as the author gave them. The switch manager gives SWMGR_LOG_ERROR
// to every command line that it ran, "cmd (LINE) returned (STATUS).", whatever
// came of it; a follower that shows records to people looks at the status.
#ifndef SWMGR_SWMGR_LOG_H
#define SWMGR_SWMGR_LOG_H

#include "swmgr/swmgr_client.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    LOGGING_MSG_FOLLOW = 33,  // SwMgrLogFollowRequest
    LOGGING_MSG_TOOLS = 34,   // the same request; see below
    LOGGING_MSG_COUNTERS = 35 // the same request; SwMgrLogCounters follow the answer's head
};

enum {
    SWMGR_LOG_TEXT_SIZE = 1024,        // bytes of text in one entry; the rest is cut
    SWMGR_LOG_ANSWER_USUAL = 32 * 1024 // a reply buffer that holds some dozens of records
};

// As `after`: only learn the number of the newest record.
#define SWMGR_LOG_NEWEST_ONLY UINT64_MAX

typedef struct SwMgrLogFollowRequest {
    uint64_t after; // number of the last record seen, 0: from the oldest one kept
    int32_t level;  // records above this level are left out, as SWMGR_LOG_...
    uint32_t reserved;
} SwMgrLogFollowRequest;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrLogFollowRequest) == 16);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogFollowRequest, level) == 8);

// A follower that finds another `epoch` than before starts anew with 0. When
// `last` is below `newest` there is more to ask for at once.
typedef struct SwMgrLogAnswer {
    uint64_t epoch;   // start of the daemon, ns since 1970
    uint64_t newest;  // number of the newest record, 0: none yet
    uint64_t last;    // number to ask after next time
    uint64_t skipped; // records after `after` that are no longer kept
    uint32_t count;   // entries that follow
    uint32_t lost;    // records that senders lost since the daemon's start
} SwMgrLogAnswer;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrLogAnswer) == 40);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogAnswer, skipped) == 24);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogAnswer, count) == 32);

typedef struct SwMgrLogEntry {
    uint64_t number;     // counts from 1
    int64_t time;        // ns since 1970
    uint32_t module;     // of the record's author
    int32_t level;       // SWMGR_LOG_...
    uint32_t dropped;    // records its sender lost right before this one
    uint32_t textLength; // bytes of text that follow, without terminator, as they came
} SwMgrLogEntry;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrLogEntry) == 32);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogEntry, module) == 16);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogEntry, textLength) == 28);

// LOGGING_MSG_TOOLS asks for command lines that failed and have not succeeded
// since, the newest last. Each is an entry as it was logged; a line counts as
// the same when it is about the same entry of the same table. Removals of
// interfaces that were not there are no failures. What was lost on its way to
// the daemon is not among them. Among them is the line of the last load of the
// configuration that failed, right behind the errors that were logged before it.

// Requests of one kind, as far as the switch manager's records tell.
typedef struct SwMgrLogRequests {
    uint64_t received;
    uint64_t refused; // of them
} SwMgrLogRequests;

// Counts since the daemon's start, of records that arrived. Further ones may come to
// stand behind these. VLAN requests and switch commands that were in order are not
// counted: no line says that there was one.
typedef struct SwMgrLogCounters {
    uint64_t toolRuns;
    uint64_t toolFailures; // removals of interfaces that were not there left out
    SwMgrLogRequests databaseEvents;
    SwMgrLogRequests interfaceEvents;
    SwMgrLogRequests malformed;      // of any kind: short, or with a name that is none
    SwMgrLogRequests switchCommands; // those that were refused alone: the others have no line
} SwMgrLogCounters;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrLogCounters) == 80);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogCounters, malformed) == 48);

#ifdef __cplusplus
}
#endif

#endif
