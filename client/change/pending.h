// The part of a change that takes effect only when the service starts again.
#pragma once

#include "client/devices/difference.h"
#include "client/gateway/gateway_view.h"
#include "client/records/history.h"
#include "client/rows/row_change.h"

#include <vector>

namespace swctl {

// Adds the change's events as sent to the service.
void addRequests(Script &script, const ChangeSet &changes);

// The port and switch rows of which the running service holds another version in memory. The
// history gives the rows as of its start; from there the change is rehearsed and compared with
// a fresh start from the current rows. Empty if there is no difference in effect.
std::vector<Difference> pendingSettings(const GatewayView &gateway, const History &history,
                                        Snapshot &before, Snapshot &after,
                                        const ChangeSet &changes);

// A port or switch whose row was removed since the service started is still in its memory, and
// the service cannot add it again. Marks such additions as not told.
void markStillHeld(const History &history, ChangeSet &changes);

// Whether some of these changes of switches and ports only take effect at a start, and a note
// among the consequences if so.
bool waitsForStart(const ChangeSet &changes);
void noteNextStart(ChangeSet &changes);

} // namespace swctl
