// The bridge's settings other than VLANs. Each takes the switch and the command's record, which
// need not be aligned.
#pragma once

#include "model/switch.h"

[[nodiscard]] int bridgeVlanEnable(Switch *sw, const void *payload);   // 33, int32: 0 or 1
[[nodiscard]] int bridgeQueueSched(Switch *sw, const void *payload);   // 48, SwCmdQueueSched
[[nodiscard]] int bridgePauseFrame(Switch *sw, const void *payload);   // 49, int32: 1 on
[[nodiscard]] int bridgeRateLimit(Switch *sw, const void *payload);    // 50, SwCmdRateLimit
[[nodiscard]] int bridgeIgmpSnooping(Switch *sw, const void *payload); // 56, one byte
[[nodiscard]] int bridgeMldSnooping(Switch *sw, const void *payload);  // 57, one byte
