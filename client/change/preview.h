// Previewing a change without carrying it out.
#pragma once

#include "client/gateway/gateway_view.h"
#include "client/plan/wish.h"

#include <string>
#include <vector>

namespace swctl {

// The content and the effects of a change.
struct Preview {
    ChangeSet changes;
    std::vector<std::string> lines;   // effects on VLANs, ports and interfaces
    std::vector<std::string> actions; // commands and driver requests, in order
    std::vector<std::string> reasons; // why the service would refuse it; empty if it would not
};

struct PreviewOptions {
    bool offline = false; // without notifying the service
    bool force = false;   // even if checks would refuse the change
};

// Throws if carrying out the change would be refused without asking the service.
Preview preview(GatewayView &gateway, const Wish &wish, const PreviewOptions &options);

} // namespace swctl
