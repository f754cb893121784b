// The bridge of the only switch of this kind, and the known state of its ports.
#pragma once

#include "model/switch.h"

// What the service has set in the kernel for a VLAN since it started.
struct HeldVlan {
    uint32_t members;  // bit n is port n
    uint32_t untagged; // members that send and accept the VLAN untagged
    bool self;         // the bridge itself is a member
    bool known;        // false if an earlier run of the service may have left settings
};

constexpr int32_t highestVlan = 4094;

// Starts afresh with the switch's bridge, creating it if necessary. Returns -1 if that fails,
// -22 if the switch's device is not an interface name.
[[nodiscard]] int bridgeBegin(const Switch &sw, const char *func);

[[nodiscard]] const char *bridgeName();

// The known state of a VLAN; ids are 1 to highestVlan.
[[nodiscard]] HeldVlan &heldVlan(int32_t vlanId);

// A port's interface, for a command line. The port joins the bridge and is brought up on first
// use.
class BridgePort {
public:
    BridgePort(const SwitchPort &port, const char *func);

    // 0; -22 for a port number that a bridge cannot have; -1 if the port has not joined, or its
    // interface's name is not usable.
    [[nodiscard]] int status() const { return outcome; }
    [[nodiscard]] const char *name() const { return text; }

private:
    char text[sizeof(SwitchPort::interfaceName) + 1]; // the field may lack a terminator
    int outcome;
};
