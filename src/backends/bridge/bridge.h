// The backend of a switch that Linux drives: its ports are network interfaces in a bridge
// with VLAN filtering, which passes its VLAN table on to the hardware if there is any. The
// switch's device is the bridge's interface, and a port's interface is the port.
#pragma once

#include "model/switch.h"

// Binds a switch named "BRIDGE" and creates its bridge if there is none. 0; -22 for none,
// another name or a device that is not an interface name; -1 without a bridge.
[[nodiscard]] int bridgeRegister(Switch *sw);

// Clears what was installed; the bridge stays and keeps forwarding. 0; -22 for none or
// another name.
int bridgeUnRegister(Switch *sw);
