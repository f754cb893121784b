// Brings the gateway to the state that a fresh start would produce, by announcing VLANs that
// differ again to the service and sending settings that differ.
#pragma once

#include "client/gateway/gateway_view.h"
#include "client/rows/row_change.h"

#include <functional>
#include <string>
#include <vector>

namespace swctl {

// What was requested of the service, and the result.
struct Settled {
    std::vector<Difference> left;        // differences that count
    Actual actual;                       // as last read
    std::vector<UnknownSetting> unknown; // of the target
    int rounds = 0;
    std::vector<std::string> done; // one line per announced VLAN or setting that was sent
};

// Upper limit; settling ends earlier when nothing differs, or nothing improves.
constexpr int mostRounds = 3;

// Settles the VLANs of all differences that count and that `mayMend`, if set, allows; settles
// none if the target is a start that stops. Always reads the VLANs in `ids`. Throws Unanswered
// if the service stops answering.
Settled settle(const GatewayView &gateway, Snapshot &snapshot, const Target &target,
               const std::set<int> &ids, GatewayView::Extent extent, bool mend,
               const Progress &progress = {},
               const std::function<bool(const Difference &)> &mayMend = {});

} // namespace swctl
