// A snapshot of the gateway on all levels: the rows, a start rehearsed from them, and the
// state of some VLANs in the devices and the kernel.
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
    std::optional<Rehearsal> start; // always set by inspect()
    Network network;
    Target target;
    Actual actual;
    std::vector<Difference> differences; // only those that count
    std::vector<std::string> unread;     // parts that could not be read, each with the reason

    [[nodiscard]] std::vector<Row> rowsOf(int vlanId) const;
    // Whether a start sets up a switch of this kind.
    [[nodiscard]] bool has(const Device &device) const;
};

// Reads the entries of these VLANs and of sub-interfaces that no row has. For `ports`, also
// reads where frames from them may be forwarded, and the entries of the VLANs that their
// untagged frames belong to and should belong to.
Inspection inspect(GatewayView &gateway, const std::set<int> &vlanIds,
                   const std::set<int> &ports = {});

} // namespace swctl
