// The five-port switch chip behind its driver, as a pure model: one request in, one
// result out, no sockets and no output. The socket device, the character device in
// user space, rehearsals, the fuzzer and the tests all drive it through handle().
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace chip {

constexpr int portCount = 5;
constexpr uint16_t allPorts = (1u << portCount) - 1;
constexpr uint16_t highestVlan = 4094; // 0 and 4095 name no VLAN
constexpr int counterCount = 12;       // 32-bit counters in a statistics record
constexpr int priorityCount = 8;
constexpr int queueCount = 4;

// The state of one port. Initial values are those after a reset.
struct Port {
    uint16_t pvid = 1;              // default tag: VLAN id, 0 for a priority tag only
    uint8_t priority = 0;           // default tag: 0 to 7
    uint8_t cfi = 0;                // default tag: 0 or 1
    uint32_t dropNon8021q = 0;      // non-802.1Q frames state as last written: 0 or 1
    uint16_t forwardMap = allPorts; // port-based VLAN: bit n, may forward to port n
    int32_t linkStatus = 1;         // 1 up, 0 down
    int32_t trustMode = 0;          // 0 to 4
    uint8_t schedMode = 0;          // 0 to 3
    std::array<uint8_t, queueCount> weights{1, 1, 1, 1};
    int32_t rateLimit = 0; // kbit/s, 0 for none
    std::array<uint8_t, priorityCount> cosQueue{0, 0, 1, 1, 2, 2, 3, 3};
    std::array<uint32_t, counterCount> counters{};
};

// One entry of the VLAN table. An entry with empty maps is still an entry.
struct Vlan {
    bool present = false;
    uint16_t fwdMap = 0;   // bit n: port n is a member
    uint16_t untagMap = 0; // bit n: port n sends the VLAN untagged
};

// True for a request that only reads.
bool isQuery(uint32_t request);

struct Model {
    bool vlanMode = false; // 802.1Q on
    bool qos = false;
    bool pauseFrames = false;
    std::array<Port, portCount> ports{};
    std::array<Vlan, highestVlan + 1> vlans{}; // by VLAN id
    uint64_t handled = 0;                      // driver requests seen, refused ones included
    uint64_t refused = 0;                      // requests answered with a negative result

    // Counters that differ by port and place, since no frames pass here.
    Model();

    // One driver request. `record` is read, and overwritten if the request reads
    // something back; `size` must match the request number. Requests without a record
    // use `argument`. Returns what the driver would: 0 or a queried value, -EINVAL for
    // a port, VLAN id or value that the chip does not have, -ENOTTY for an unknown
    // number. A refused request changes nothing.
    int handle(uint32_t request, int64_t argument, uint8_t *record, size_t size);
};

} // namespace chip
