// What the packet switch engine and the host's VLAN sub-interfaces hold, laid out so
// that the file can be mapped as is: a tool call touches only the pages it needs,
// however many VLANs there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace engine {

constexpr uint32_t stateMagic = 0x45575753; // "SWWE"
constexpr uint32_t stateVersion = 1;        // raised with every change below

constexpr uint32_t portCount = 8; // engine ports 0 to 7, bit n of a map for port n
constexpr uint32_t allPorts = (1u << portCount) - 1;
constexpr uint32_t vlanTableSize = 65536; // indices of VLAN table entries
constexpr uint32_t vlanIdCount = 4095;    // VLAN ids 0 to 4094
constexpr uint32_t arlWays = 4;           // addresses per VLAN
constexpr uint32_t interfaceWays = 4;     // parents per VLAN id
constexpr uint32_t registerBase = 0x70000000;
constexpr uint32_t registerSize = 4;    // bytes
constexpr uint32_t registerCount = 256; // from the base address
constexpr uint32_t queueCount = 4;
constexpr uint32_t trustModeCount = 5;
constexpr uint32_t ingressCount = 8;       // priorities in a VLAN tag
constexpr uint32_t egressCount = 16;       // priorities of a packet that the map covers
constexpr uint32_t interfaceNameSize = 16; // with the terminator, as in Linux

struct Mac {
    uint8_t bytes[6];
};

struct VlanEntry {
    uint8_t present;
    uint8_t isWan;
    uint8_t hasMac;
    uint8_t last; // the closing argument, 0 or 1
    uint16_t vlanId;
    Mac mac;
    uint32_t etagMap; // ports that send tagged
    uint32_t mbMap;   // member ports
};
static_assert(sizeof(VlanEntry) == 20);

struct ArlEntry {
    uint8_t present;
    uint8_t flag; // the closing argument, 0 or 1
    Mac mac;
    uint32_t portMap;
};
static_assert(sizeof(ArlEntry) == 12);

struct PortState {
    uint8_t rateSet; // the next two have been written
    uint8_t rateValue;
    uint8_t rateUnit;
    uint8_t schedSet; // the next two have been written
    uint8_t schedMode;
    uint8_t weights[queueCount]; // exponents of two
    uint8_t trustSet;            // the next one has been written
    uint8_t trustFlag;           // which of the five flags is on
    uint8_t reserved;
};
static_assert(sizeof(PortState) == 12);

// A simulated VLAN sub-interface, for a kernel without them.
struct SubInterface {
    uint8_t present;
    uint8_t up;
    uint8_t ingress[ingressCount]; // priority in the tag to priority of the packet
    uint8_t egress[egressCount];   // priority of the packet to priority in the tag
    char parent[interfaceNameSize];
};

struct State {
    uint32_t magic;
    uint32_t version;
    uint32_t size;         // of this structure
    uint32_t rateLimiter;  // sppe_ioctl rl: 1 enabled
    uint32_t queueCode;    // tc_func: 0, 1, 2 for 1, 2, 4 queues
    uint32_t vlanIndexEnd; // one more than the highest index ever written
    PortState ports[portCount];
    uint32_t registers[registerCount];
    VlanEntry vlans[vlanTableSize];
    ArlEntry arl[vlanIdCount][arlWays];
    SubInterface interfaces[vlanIdCount][interfaceWays];
};
static_assert(std::is_trivially_copyable_v<State> && std::is_standard_layout_v<State>);

// The state after power-on: all zero except for the header and the pause registers,
// whose lower halves hold the longest pause time.
void stateReset(State &state);

// The same for a state whose bytes are all zero: touches no more than necessary.
void statePowerOn(State &state);

} // namespace engine
