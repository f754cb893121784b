// The gateway held against what a fresh start would give, and brought there. No row
// is changed.
#pragma once

#include "client/change/verdict.h"
#include "client/records/history.h"

namespace swctl {

// Only looks.
Verdict compare(GatewayView &gateway, const History &history, bool allVlans,
                const Progress &progress);

// Announces what differs again.
Verdict repair(GatewayView &gateway, const History &history, bool allVlans,
               const Progress &progress);

} // namespace swctl
