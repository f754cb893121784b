// The backend of a switch that Linux drives: its ports are network interfaces in a
// bridge with VLAN filtering, which hands its VLAN table to the hardware where there is
// any. The switch's device is the bridge's interface, a port's interface the port.
#pragma once

#include "model/switch.h"

// Binds a switch named "BRIDGE" and makes its bridge where there is none. 0; -22 for
// none, another name or a device that is no interface name; -1 without a bridge.
[[nodiscard]] int bridgeRegister(Switch *sw);

// Clears what was installed; the bridge stays, and carries frames on. 0; -22 for none or
// another name.
int bridgeUnRegister(Switch *sw);
