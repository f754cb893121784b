// Compares the gateway with a fresh start, and repairs it. Rows are not changed.
#pragma once

#include "client/change/verdict.h"
#include "client/records/history.h"

namespace swctl {

// Changes nothing.
Verdict compare(GatewayView &gateway, const History &history, bool allVlans,
                const Progress &progress);

// Announces again what differs.
Verdict repair(GatewayView &gateway, const History &history, bool allVlans,
               const Progress &progress);

} // namespace swctl
