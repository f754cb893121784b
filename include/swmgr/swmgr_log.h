// The switch manager's log: how a client follows the log of the device's services.
//
// Services send their records to the logging module (relay module
// LOGGING_RELAY_MODULE_ID) as requests of type LOGGING_MSG_LOG, in relay mode 2: nobody
// waits, and a record that cannot be sent at once is lost. The messaging counts lost
// records: the header of the next one that gets through carries their number in
// `reserved3` (see SwMgrLogEntry.dropped).
//
// A follower repeatedly asks the log daemon for the records after the last one it has
// seen: relay mode 1, type LOGGING_MSG_FOLLOW, a SwMgrLogFollowRequest as data. The
// answer comes in the reply buffer: a SwMgrLogAnswer, then `count` times a
// SwMgrLogEntry and its text, each entry starting on a multiple of eight bytes. The
// daemon keeps only the last records. Everything is little-endian.
//
// Levels are those the author gave. The switch manager gives SWMGR_LOG_ERROR to every
// command line it runs, "cmd (LINE) returned (STATUS).", whatever the outcome; a
// follower that shows records to people should look at the status.
#ifndef SWMGR_SWMGR_LOG_H
#define SWMGR_SWMGR_LOG_H

#include "swmgr/swmgr_client.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    LOGGING_MSG_FOLLOW = 33,   // SwMgrLogFollowRequest
    LOGGING_MSG_TOOLS = 34,    // the same request; see below
    LOGGING_MSG_COUNTERS = 35, // the same request; SwMgrLogCounters follow the answer's head
    LOGGING_MSG_SETTINGS = 36, // the same request; see below
    LOGGING_MSG_MARKER = 37    // the same request, `after` being a row; see below
};

enum {
    SWMGR_LOG_TEXT_SIZE = 1024,        // bytes of text in one entry; the rest is cut off
    SWMGR_LOG_ANSWER_USUAL = 32 * 1024 // a reply buffer that holds a few dozen records
};

// A value of `after` that only asks for the number of the newest record.
#define SWMGR_LOG_NEWEST_ONLY UINT64_MAX

typedef struct SwMgrLogFollowRequest {
    uint64_t after; // number of the last record seen, 0: from the oldest one kept
    int32_t level;  // records above this level are left out, as SWMGR_LOG_...
    uint32_t reserved;
} SwMgrLogFollowRequest;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrLogFollowRequest) == 16);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogFollowRequest, level) == 8);

// A follower that finds a different `epoch` starts again with 0. If `last` is below
// `newest`, more records can be asked for at once.
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
    uint32_t textLength; // bytes of text that follow, without terminator, unchanged
} SwMgrLogEntry;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrLogEntry) == 32);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogEntry, module) == 16);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogEntry, textLength) == 28);

// LOGGING_MSG_TOOLS asks for command lines that failed and have not succeeded since,
// the newest last. Each is an entry as it was logged; two lines count as the same if
// they are about the same entry of the same table. Removing a missing interface is not
// a failure. Records that did not reach the daemon are missing. The line of the last
// failed load of the configuration is included, right after the errors logged before it.

// LOGGING_MSG_SETTINGS asks for the lines about settings that no device can report: of each
// setting the newest one since the daemon's start, the newest last, whoever sent the request
// for it. Such lines are those of the engine's tools for QoS, rate limits, queues and trust
// modes, those of tc and ethtool for a bridge's ports, "VLAN Enable status STATE" for the
// chip's VLAN mode with the lines that report its failure, and those of a bandwidth that an
// interface event set. In their entries `dropped` is the number of records lost since.

// LOGGING_MSG_MARKER asks whether the service's line about a deletion of that row in the
// table "swctl", which it does not know, has arrived: 1 if it has, and with it all records
// sent before it, 0 if not. Such lines are not kept.

// Requests of one kind, as far as the switch manager's records show.
typedef struct SwMgrLogRequests {
    uint64_t received;
    uint64_t refused; // how many of them
} SwMgrLogRequests;

// Counts since the daemon's start, of records that arrived. More may be added at the
// end. VLAN requests and switch commands that succeeded are not counted: they are not
// logged.
typedef struct SwMgrLogCounters {
    uint64_t toolRuns;
    uint64_t toolFailures; // not counting removals of missing interfaces
    SwMgrLogRequests databaseEvents;
    SwMgrLogRequests interfaceEvents;
    SwMgrLogRequests malformed;      // of any kind: short, or with an invalid name
    SwMgrLogRequests switchCommands; // only refused ones: the others are not logged
} SwMgrLogCounters;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrLogCounters) == 80);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogCounters, malformed) == 48);

#ifdef __cplusplus
}
#endif

#endif
