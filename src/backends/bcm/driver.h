// The Broadcom switch driver's ioctl interface: request numbers of type 'S', and their packed
// little-endian records. Numbers, direction and record size follow the Linux encoding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

constexpr int bcmPortCount = 5; // chip ports 0 to 4
constexpr uint32_t bcmEveryPort = (1u << bcmPortCount) - 1;

enum BcmRequest : uint32_t {
    BCM_IOC_VLAN_ENABLE = 0x5301,              // no record
    BCM_IOC_VLAN_DISABLE = 0x5302,             // no record
    BCM_IOC_PORT_VLAN_MEMBER_GET = 0x40045303, // result non-zero: member
    BCM_IOC_PORT_VLAN_MEMBER_ADD = 0x40045304,
    BCM_IOC_PORT_VLAN_MEMBER_DEL = 0x40045305,
    BCM_IOC_DEFAULT_TAG_GET = 0xc0065306,
    BCM_IOC_DEFAULT_TAG_SET = 0x40065307,
    BCM_IOC_VLAN_FWD_MEMBER_GET = 0x40055308,   // result 1: in the forward map
    BCM_IOC_VLAN_UNTAG_MEMBER_GET = 0x4005530b, // result 1: in the untag map
    BCM_IOC_VLAN_CLEAR = 0x40055310,
    BCM_IOC_NON8021Q_FRAMES_SET = 0x40065311,
    BCM_IOC_VLAN_ENTRY_SET = 0x40075312,
    BCM_IOC_PORT_STATS_GET = 0xc0325314,
    BCM_IOC_LINK_STATUS_GET = 0x5319, // no record; the port is the argument
    BCM_IOC_TRUST_MODE_SET = 0xc006531e,
    BCM_IOC_QUEUE_SCHED_SET = 0xc008531f,
    BCM_IOC_QOS_SET = 0xc0045320,
    BCM_IOC_PAUSE_FRAME_SET = 0xc0045321,
    BCM_IOC_RATE_LIMIT_SET = 0xc0075322,
    BCM_IOC_COS_QUEUE_MAP_SET = 0xc0055323,
};

#define DRIVER_RECORD(type, size)                                                                  \
    static_assert(sizeof(type) == (size) && alignof(type) == 1);                                   \
    static_assert(std::is_trivially_copyable_v<type> && std::is_standard_layout_v<type>)

#pragma pack(push, 1)

struct BcmPortVlanRecord {
    uint16_t port;       // port whose forward map is edited
    uint16_t memberPort; // port in that map
};
DRIVER_RECORD(BcmPortVlanRecord, 4);
static_assert(offsetof(BcmPortVlanRecord, memberPort) == 2);

struct BcmPortTagRecord {
    uint16_t port;
    uint16_t vid;
    uint8_t priority; // 0 on set
    uint8_t cfi;      // 0 on set
};
DRIVER_RECORD(BcmPortTagRecord, 6);
static_assert(offsetof(BcmPortTagRecord, vid) == 2);
static_assert(offsetof(BcmPortTagRecord, priority) == 4);
static_assert(offsetof(BcmPortTagRecord, cfi) == 5);

struct BcmVlanPortRecord {
    uint16_t vlanId;
    uint16_t port; // queries only
    uint8_t reserved;
};
DRIVER_RECORD(BcmVlanPortRecord, 5);
static_assert(offsetof(BcmVlanPortRecord, port) == 2);
static_assert(offsetof(BcmVlanPortRecord, reserved) == 4);

struct BcmNon8021qRecord {
    uint16_t port;
    uint32_t state; // 1: the port is untagged in no VLAN
};
DRIVER_RECORD(BcmNon8021qRecord, 6);
static_assert(offsetof(BcmNon8021qRecord, state) == 2);

struct BcmVlanEntryRecord {
    uint16_t vlanId;
    uint16_t fwdMap;   // low 16 bits
    uint16_t untagMap; // low 16 bits
    uint8_t reserved;
};
DRIVER_RECORD(BcmVlanEntryRecord, 7);
static_assert(offsetof(BcmVlanEntryRecord, fwdMap) == 2);
static_assert(offsetof(BcmVlanEntryRecord, untagMap) == 4);
static_assert(offsetof(BcmVlanEntryRecord, reserved) == 6);

struct BcmPortStatsRecord {
    uint16_t portNumber;
    uint8_t statistics[48]; // the driver's counters, in its layout
};
DRIVER_RECORD(BcmPortStatsRecord, 50);
static_assert(offsetof(BcmPortStatsRecord, statistics) == 2);

struct BcmEnableRecord {
    int32_t enable;
};
DRIVER_RECORD(BcmEnableRecord, 4);

struct BcmQueueSchedRecord {
    uint16_t portNumber;
    uint8_t reserved; // undefined, sent as 0
    uint8_t schedMode;
    uint8_t queue1Weight;
    uint8_t queue2Weight;
    uint8_t queue3Weight;
    uint8_t queue4Weight;
};
DRIVER_RECORD(BcmQueueSchedRecord, 8);
static_assert(offsetof(BcmQueueSchedRecord, reserved) == 2);
static_assert(offsetof(BcmQueueSchedRecord, schedMode) == 3);
static_assert(offsetof(BcmQueueSchedRecord, queue1Weight) == 4);
static_assert(offsetof(BcmQueueSchedRecord, queue2Weight) == 5);
static_assert(offsetof(BcmQueueSchedRecord, queue3Weight) == 6);
static_assert(offsetof(BcmQueueSchedRecord, queue4Weight) == 7);

struct BcmRateLimitRecord {
    uint16_t portNumber;
    uint8_t limitCmd;  // 0 removes the limit, 1 applies it
    int32_t rateLimit; // kbit/s
};
DRIVER_RECORD(BcmRateLimitRecord, 7);
static_assert(offsetof(BcmRateLimitRecord, limitCmd) == 2);
static_assert(offsetof(BcmRateLimitRecord, rateLimit) == 3);

struct BcmTrustModeRecord {
    uint16_t portNumber;
    int32_t trustMode;
};
DRIVER_RECORD(BcmTrustModeRecord, 6);
static_assert(offsetof(BcmTrustModeRecord, trustMode) == 2);

struct BcmCosQueueMapRecord {
    uint16_t portNumber;
    uint8_t mapValue1;
    uint8_t reserved; // always 0
    uint8_t mapValue2;
};
DRIVER_RECORD(BcmCosQueueMapRecord, 5);
static_assert(offsetof(BcmCosQueueMapRecord, mapValue1) == 2);
static_assert(offsetof(BcmCosQueueMapRecord, reserved) == 3);
static_assert(offsetof(BcmCosQueueMapRecord, mapValue2) == 4);

#pragma pack(pop)

#undef DRIVER_RECORD
