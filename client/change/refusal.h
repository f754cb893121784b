// Reasons to refuse a change up front. Both functions throw with exitRefused.
#pragma once

#include "client/gateway/gateway_view.h"
#include "client/rows/row_change.h"

namespace swctl {

// If the change introduces errors into the rows.
void refuseErrors(const GatewayView &gateway, Snapshot &before, Database &after,
                  const ChangeSet &changes);

// If a start from the new rows would stop where one from the old rows did not.
void refuseStop(const GatewayView &gateway, Snapshot &before, const Target &after,
                const ChangeSet &changes);

} // namespace swctl
