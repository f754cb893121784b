// The switch manager as a client sees it: module ids, request types, command codes and
// the records carried by requests. Everything is little-endian; reserved bytes are sent
// as zero and never read.
//
// The answer to a request is a status, SWMGR_STATUS_...
#ifndef SWMGR_SWMGR_CLIENT_H
#define SWMGR_SWMGR_CLIENT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#define SWMGR_ASSERT_LAYOUT(expression) static_assert(expression, #expression)
#else
#define SWMGR_ASSERT_LAYOUT(expression) _Static_assert(expression, #expression)
#endif

// Answers to requests. Failures are negative; results of a driver or a tool are passed
// on unchanged, so other negative values occur.
enum {
    SWMGR_STATUS_OK = 0,
    SWMGR_STATUS_FAILED = -1,      // the log says why
    SWMGR_STATUS_NO_MEMORY = -12,  // out of memory
    SWMGR_STATUS_INVALID = -22,    // refused: too short, unknown, or a row that must not be used
    SWMGR_STATUS_UNSUPPORTED = -95 // an interface event that the service does not act on
};

// Relay modules, and the request type of log records.
enum {
    SWMGR_RELAY_MODULE_ID = 103,  // the switch manager
    LOGGING_RELAY_MODULE_ID = 20, // the device's logging module
    LOGGING_MSG_LOG = 32          // SwMgrLogRecord, then the text
};

// Request types with their own meaning. Every other type is a command code and carries
// a SwMgrSwitchCmdRequest.
enum {
    SWMGR_MSG_DB_EVENT = 4,    // SwMgrDbEvent; reply buffer: the row's old values
    SWMGR_MSG_IFDEV_EVENT = 5, // SwMgrIfDevEvent; reply buffer: SwMgrIfBandwidth
    SW_CMD_VLAN_ADD = 36,      // SwMgrVlanRequest
    SW_CMD_VLAN_DELETE = 38    // SwMgrVlanRequest
};

// Command codes of a switch.
enum {
    SW_CMD_VLAN_ENABLE = 33,            // int32: 0 off, 1 on
    SW_CMD_VLAN_MEMBERSHIP_UPDATE = 34, // the service's own VLAN object
    SW_CMD_VLAN_MEMBERSHIP_SET = 35,    // the service's own VLAN object
    SW_CMD_PORT_CONFIG_SET = 41,        // the service's own port object, or none
    SW_CMD_QOS_ENABLE = 47,             // int32: 0 off, 1 on
    SW_CMD_QUEUE_SCHED = 48,            // SwCmdQueueSched
    SW_CMD_PAUSE_FRAME = 49,            // int32: 1 on, any other value off
    SW_CMD_RATE_LIMIT = 50,             // SwCmdRateLimit
    SW_CMD_TRUST_MODE = 51,             // SwCmdTrustMode
    SW_CMD_IGMP_SNOOP = 56,             // one byte
    SW_CMD_MLD_SNOOP = 57,              // one byte
    SW_CMD_PORT_VLAN_ADD = 58,          // the service's own VLAN object
    SW_CMD_PORT_VLAN_DELETE = 59        // the service's own VLAN object
};

// A port number in a command's record that means every port of the receiving switch.
enum {
    SWMGR_EVERY_PORT = -1
};

// Trust modes of a port: which field of a frame determines its priority. The engine has
// five flags for it, and each mode sets one of them; the engine defines their meaning.
enum {
    SW_TRUST_MODE_FLAG_1 = 0,
    SW_TRUST_MODE_FLAG_2 = 4,
    SW_TRUST_MODE_FLAG_3 = 2,
    SW_TRUST_MODE_FLAG_4 = 1,
    SW_TRUST_MODE_FLAG_5 = 3,
    SW_TRUST_MODE_COUNT = 5
};

// Scheduling modes of a port's queues, with the engine's codes. There is no mode 2.
enum {
    SW_SCHED_MODE_CODE_0 = 1,
    SW_SCHED_MODE_CODE_1 = 0,
    SW_SCHED_MODE_CODE_2 = 3
};

// What a rate limit command does.
enum {
    SW_RATE_LIMIT_REMOVE = 0,
    SW_RATE_LIMIT_APPLY = 1
};

// Log levels in a log record.
enum {
    SWMGR_LOG_NONE = -1,     // dropped
    SWMGR_LOG_ERROR = 8,     // failures, and every command line that was run
    SWMGR_LOG_INFO = 64,     // progress
    SWMGR_LOG_NOTICE = 128,  // outcomes of hardware operations
    SWMGR_LOG_DEVDEBUG = 256 // everything, while developer logging is on
};

// Kinds of change in a SwMgrDbEvent; SQLite's own action codes.
enum {
    SWMGR_DB_DELETE = 9,
    SWMGR_DB_INSERT = 18,
    SWMGR_DB_UPDATE = 23
};

// Interface events that carry a bandwidth.
enum {
    SWMGR_IFDEV_EVENT_A = 22,
    SWMGR_IFDEV_EVENT_B = 25,
    SWMGR_IFDEV_EVENT_C = 26
};

enum {
    SWMGR_SWITCH_NAME_SIZE = 64,
    SWMGR_TABLE_NAME_SIZE = 64,
    SWMGR_IF_NAME_SIZE = 64,
    SWMGR_CMD_PAYLOAD_SIZE = 1300
};

// One VLAN, as described by a row of vlanEncapIf and carried by requests 36 and 38.
// Strings are null-terminated within their field.
typedef struct SwitchVlanCfg {
    int32_t vlanId;         // 802.1Q VLAN id
    char vlanName[128];     // not stored in the database
    char interfaceName[64]; // Linux interface that carries the sub-interface
    char LogicalIfName[64]; // logical interface name
    char ingressMap[512];   // carried, not interpreted
    char egressMap[512];    // carried, not interpreted
    uint32_t fwdMap;        // member ports, bit n for port n
    uint32_t untagMap;      // ports on which the VLAN is sent untagged
    int32_t vlanIndex;      // assigned by the service; the sender's value is ignored
    int32_t inSwitchOnly;   // non-zero: the VLAN stays inside the switches
} SwitchVlanCfg;
SWMGR_ASSERT_LAYOUT(sizeof(SwitchVlanCfg) == 1300);
SWMGR_ASSERT_LAYOUT(offsetof(SwitchVlanCfg, vlanName) == 4);
SWMGR_ASSERT_LAYOUT(offsetof(SwitchVlanCfg, interfaceName) == 132);
SWMGR_ASSERT_LAYOUT(offsetof(SwitchVlanCfg, LogicalIfName) == 196);
SWMGR_ASSERT_LAYOUT(offsetof(SwitchVlanCfg, ingressMap) == 260);
SWMGR_ASSERT_LAYOUT(offsetof(SwitchVlanCfg, egressMap) == 772);
SWMGR_ASSERT_LAYOUT(offsetof(SwitchVlanCfg, fwdMap) == 1284);
SWMGR_ASSERT_LAYOUT(offsetof(SwitchVlanCfg, untagMap) == 1288);
SWMGR_ASSERT_LAYOUT(offsetof(SwitchVlanCfg, vlanIndex) == 1292);
SWMGR_ASSERT_LAYOUT(offsetof(SwitchVlanCfg, inSwitchOnly) == 1296);

// Requests 36 and 38, which always go to the top-level switch.
typedef struct SwMgrVlanRequest {
    char reserved[64];
    SwitchVlanCfg vlan;
} SwMgrVlanRequest;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrVlanRequest) == 1364);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrVlanRequest, vlan) == 64);

// A command for one switch.
typedef struct SwMgrSwitchCmdRequest {
    char switchName[SWMGR_SWITCH_NAME_SIZE]; // null-terminated
    uint8_t payload[SWMGR_CMD_PAYLOAD_SIZE]; // the command's record at its start
} SwMgrSwitchCmdRequest;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrSwitchCmdRequest) == 1364);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrSwitchCmdRequest, payload) == 64);

// Queue scheduling of one port or of every port.
typedef struct SwCmdQueueSched {
    int32_t portNumber;   // port of the receiving switch, or SWMGR_EVERY_PORT
    int32_t numQueues;    // 1, 2 or 4
    int32_t schedMode;    // SW_SCHED_MODE_...
    int32_t queue1Weight; // shares of the bandwidth; the engine keeps the largest
    int32_t queue2Weight; // power of two not above each
    int32_t queue3Weight;
    int32_t queue4Weight;
} SwCmdQueueSched;
SWMGR_ASSERT_LAYOUT(sizeof(SwCmdQueueSched) == 28);
SWMGR_ASSERT_LAYOUT(offsetof(SwCmdQueueSched, numQueues) == 4);
SWMGR_ASSERT_LAYOUT(offsetof(SwCmdQueueSched, schedMode) == 8);
SWMGR_ASSERT_LAYOUT(offsetof(SwCmdQueueSched, queue1Weight) == 12);
SWMGR_ASSERT_LAYOUT(offsetof(SwCmdQueueSched, queue2Weight) == 16);
SWMGR_ASSERT_LAYOUT(offsetof(SwCmdQueueSched, queue3Weight) == 20);
SWMGR_ASSERT_LAYOUT(offsetof(SwCmdQueueSched, queue4Weight) == 24);

// Rate limit of one port.
typedef struct SwCmdRateLimit {
    uint32_t portNumber; // port of the receiving switch
    uint8_t limitCmd;    // SW_RATE_LIMIT_...
    uint8_t reserved[3];
    int32_t rateLimit; // kbit/s
} SwCmdRateLimit;
SWMGR_ASSERT_LAYOUT(sizeof(SwCmdRateLimit) == 12);
SWMGR_ASSERT_LAYOUT(offsetof(SwCmdRateLimit, limitCmd) == 4);
SWMGR_ASSERT_LAYOUT(offsetof(SwCmdRateLimit, rateLimit) == 8);

// Trust mode of one port.
typedef struct SwCmdTrustMode {
    int32_t portNumber; // port of the receiving switch
    int32_t trustMode;  // SW_TRUST_MODE_...
} SwCmdTrustMode;
SWMGR_ASSERT_LAYOUT(sizeof(SwCmdTrustMode) == 8);
SWMGR_ASSERT_LAYOUT(offsetof(SwCmdTrustMode, trustMode) == 4);

// A change of a row in the configuration database.
typedef struct SwMgrDbEvent {
    char tableName[SWMGR_TABLE_NAME_SIZE]; // letters, digits and "_", null-terminated
    int64_t rowId;                         // SQLite rowid; the low 32 bits count
    int32_t opCode;                        // SWMGR_DB_INSERT, _UPDATE or _DELETE
    uint8_t reserved[4];
} SwMgrDbEvent;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrDbEvent) == 80);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrDbEvent, rowId) == 64);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrDbEvent, opCode) == 72);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrDbEvent, reserved) == 76);

// A change of an interface's bandwidth.
typedef struct SwMgrIfDevEvent {
    char interfaceName[132]; // null-terminated, shown in messages only
    uint32_t eventCode;      // 22, 25 or 26
    uint8_t reserved[996];
} SwMgrIfDevEvent;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrIfDevEvent) == 1132);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrIfDevEvent, eventCode) == 132);

// Reply buffer of an interface event.
typedef struct SwMgrIfBandwidth {
    uint8_t reserved0[32];
    uint32_t totalBandwidth; // kbit/s
    uint8_t reserved1[4];
    uint32_t percentage; // share of the total allowed upstream
} SwMgrIfBandwidth;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrIfBandwidth) == 44);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrIfBandwidth, totalBandwidth) == 32);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrIfBandwidth, percentage) == 40);

// Header of a log record; the null-terminated text follows as second buffer.
typedef struct SwMgrLogRecord {
    uint32_t moduleId; // of the author: SWMGR_RELAY_MODULE_ID, or 0 for its client
    int32_t level;     // SWMGR_LOG_...
    uint8_t reserved[32];
} SwMgrLogRecord;
SWMGR_ASSERT_LAYOUT(sizeof(SwMgrLogRecord) == 40);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogRecord, level) == 4);
SWMGR_ASSERT_LAYOUT(offsetof(SwMgrLogRecord, reserved) == 8);

#ifdef __cplusplus
}
#endif

#endif
