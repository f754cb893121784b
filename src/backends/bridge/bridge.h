// The backend of a switch driven by Linux. Its ports are network interfaces in a bridge with
// VLAN filtering, which offloads its VLAN table to hardware if there is any. The switch's
// device is the bridge interface; each port's interface is the port.
#pragma once

#include "model/switch.h"

// Binds a switch named "BRIDGE" and creates its bridge if necessary. Returns 0; -22 for a null
// switch, another name, or a device that is not an interface name; -1 if there is no bridge.
[[nodiscard]] int bridgeRegister(Switch *sw);

// Undoes bridgeRegister; the bridge stays and keeps forwarding. Returns 0; -22 for a null
// switch or another name.
int bridgeUnRegister(Switch *sw);
