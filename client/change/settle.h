// Bringing the gateway to what a fresh start from its database would give, through
// the service: VLANs that differ are announced again.
#pragma once

#include "client/gateway/gateway_view.h"
#include "client/rows/row_change.h"

#include <functional>
#include <string>
#include <vector>

namespace swctl {

// What was asked of the service on the way, and what came of it.
struct Settled {
    std::vector<Difference> left; // that count
    Actual actual;                // as it was read last
    int rounds = 0;
    std::vector<std::string> done; // one line for each VLAN that was announced
};

// At most this often; fewer when nothing differs any more or nothing gets better.
constexpr int mostRounds = 3;

// Settles the VLANs of every difference that counts, but for a target at which a start
// stops, and of those alone that `mayMend` allows. `ids` are read in any case.
// Throws Unanswered when the service stops answering.
Settled settle(const GatewayView &gateway, Snapshot &snapshot, const Target &target,
               const std::set<int> &ids, GatewayView::Extent extent, bool mend,
               const Progress &progress = {},
               const std::function<bool(const Difference &)> &mayMend = {});

} // namespace swctl
