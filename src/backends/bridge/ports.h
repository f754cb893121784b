// The bridge of the only switch of this kind, and what its ports are known to hold.
#pragma once

#include "model/switch.h"

// What the service has set in the kernel for one VLAN since it started.
struct HeldVlan {
    uint32_t members;  // ports, bit n for port n
    uint32_t untagged; // those of them that send and accept it untagged
    bool self;         // the bridge itself is a member
    bool known;        // false: an earlier run of the service may have left anything
};

constexpr int32_t highestVlan = 4094;

// Starts over with the switch's bridge, which is created if it does not exist. -1 if that
// fails, -22 if the switch's device is not an interface name.
[[nodiscard]] int bridgeBegin(const Switch &sw, const char *func);

// The bridge's name.
[[nodiscard]] const char *bridgeName();

// What is known about a VLAN, an id from 1 to highestVlan.
[[nodiscard]] HeldVlan &heldVlan(int32_t vlanId);

// A port's interface, for a command line. The port joins the bridge and is set up when it
// is first used.
class BridgePort {
public:
    BridgePort(const SwitchPort &port, const char *func);

    // 0; -22 for a number that no port of a bridge can have, -1 when it did not join, or
    // cannot by its interface's name.
    [[nodiscard]] int status() const { return outcome; }
    [[nodiscard]] const char *name() const { return text; }

private:
    char text[sizeof(SwitchPort::interfaceName) + 1]; // the field may be full
    int outcome;
};
