// What a change leaves to the service's next start.
#pragma once

#include "swctl/difference.h"
#include "swctl/gateway_view.h"
#include "swctl/row_change.h"

#include <vector>

namespace swctl {

// The events of a change, as the service gets them.
void addRequests(Script &script, const ChangeSet &changes);

// The rows of which the service hears nothing, as far as a start with them would
// give something else than the change on the running service. That is rehearsed;
// none when every row is announced, or when it makes no difference.
std::vector<Difference> pendingSettings(const GatewayView &gateway, Snapshot &before,
                                        Snapshot &after, const ChangeSet &changes);

} // namespace swctl
