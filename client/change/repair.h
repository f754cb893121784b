// Compares the gateway with a fresh start, and repairs it. Rows are not changed.
#pragma once

#include "client/change/verdict.h"
#include "client/records/history.h"

namespace swctl {

// Changes nothing.
Verdict compare(GatewayView &gateway, const History &history, bool allVlans,
                const Progress &progress);

// Announces again what differs, and records that in the history.
Verdict repair(GatewayView &gateway, History &history, bool allVlans, const Progress &progress,
               const std::string &comment = {});

// Sends the settings that the rows ask for, a start of the service does not send and that are
// not known to be in force; a line for each. Does nothing if the service serves another file.
std::vector<std::string> sendAfterStart(GatewayView &gateway);

} // namespace swctl
