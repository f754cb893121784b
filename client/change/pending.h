// What a change leaves to the service's next start.
#pragma once

#include "client/devices/difference.h"
#include "client/gateway/gateway_view.h"
#include "client/records/history.h"
#include "client/rows/row_change.h"

#include <vector>

namespace swctl {

// The events of a change, as the service gets them.
void addRequests(Script &script, const ChangeSet &changes);

// The rows of ports and switches that the running service has otherwise, in memory,
// as far as a start with the rows as they are now would give something else. That is
// rehearsed, from the rows as the service had them at its start, which the history
// tells; none when it makes no difference.
std::vector<Difference> pendingSettings(const GatewayView &gateway, const History &history,
                                        Snapshot &before, Snapshot &after,
                                        const ChangeSet &changes);

// A port or a switch whose row went while the service was up is still there in its
// memory: a new row for it is none that the service can add. Marks those as not told.
void markStillHeld(const History &history, ChangeSet &changes);

// Whether the service hears nothing of some of them.
bool isPartlyUnheard(const ChangeSet &changes);

} // namespace swctl
