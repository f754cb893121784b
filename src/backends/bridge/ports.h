// The bridge of the one switch of this kind, and what its ports are known to hold.
#pragma once

#include "model/switch.h"

// What the service has put into the kernel for one VLAN since it began.
struct HeldVlan {
    uint32_t members;  // ports, bit n for port n
    uint32_t untagged; // of them, those that send and take it without a tag
    bool self;         // the bridge itself is a member
    bool known;        // false: an earlier life of the service may have left anything
};

constexpr int32_t highestVlan = 4094;

// Begins anew with the switch's bridge, which is made where it is not there. -1 when it
// cannot be, -22 when the switch's device is no interface name.
[[nodiscard]] int bridgeBegin(const Switch &sw, const char *func);

// The bridge's name.
[[nodiscard]] const char *bridgeName();

// What is held of a VLAN, an id from 1 to highestVlan.
[[nodiscard]] HeldVlan &heldVlan(int32_t vlanId);

// A port's interface for a line. The port joins the bridge and is set up when it is
// first asked for.
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
