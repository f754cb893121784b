// A change that is only looked at.
#pragma once

#include "client/gateway/gateway_view.h"
#include "client/plan/wish.h"

#include <string>
#include <vector>

namespace swctl {

// What a change would be and would do.
struct Preview {
    ChangeSet changes;
    std::vector<std::string> lines;   // what becomes different, in the words of the network
    std::vector<std::string> actions; // commands and requests, in order
    std::vector<std::string> reasons; // why the service would refuse it; empty: it would not
};

struct PreviewOptions {
    bool offline = false; // the service would not be told
    bool force = false;   // although a start would stop at it
};

// Throws as carrying it out does where that would refuse it by itself.
Preview preview(GatewayView &gateway, const Wish &wish, const PreviewOptions &options);

} // namespace swctl
