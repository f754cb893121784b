// What becomes of a frame at a port of a bridge.
#pragma once

#include "client/view/explanation.h"

namespace swctl {

// Fills in all but what the rows and the log say. False: by a fresh start the port is no
// member of the VLAN.
bool explainBridgePort(const Inspection &inspection, PortExplanation &all);

} // namespace swctl
