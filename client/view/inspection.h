// A look at the gateway on all levels at once: rows, a rehearsed start from them,
// and what devices and kernel hold of some VLANs.
#pragma once

#include "client/check/check.h"
#include "client/view/network.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace swctl {

struct Inspection {
    std::vector<Row> vlanRows;
    std::vector<Finding> findings;  // about the rows
    Interfaces interfaces;          // that exist
    std::optional<Rehearsal> start; // always there once looked
    Network network;
    Target target;
    Actual actual;
    std::vector<Difference> differences; // that count
    std::vector<std::string> unread;     // parts that might differ, and why they are unknown

    [[nodiscard]] std::vector<Row> rowsOf(int vlanId) const;
    // Whether a start brings such a switch up.
    [[nodiscard]] bool has(const Device &device) const;
};

// Reads the entries of these VLANs and of sub-interfaces that no row has. With ports of
// a device also where frames from there may go, and the VLANs that untagged frames get and
// should get there.
Inspection inspect(GatewayView &gateway, const std::set<int> &vlanIds,
                   const std::set<int> &ports = {});

} // namespace swctl
