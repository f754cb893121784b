// Why a change is not begun. Both throw with exitRefused.
#pragma once

#include "client/gateway/gateway_view.h"
#include "client/rows/row_change.h"

namespace swctl {

// When the rows after it have errors that they had not before.
void refuseErrors(const GatewayView &gateway, Snapshot &before, Database &after,
                  const ChangeSet &changes);

// When a start from the rows after it would stop, and one from those before went on.
void refuseStop(const GatewayView &gateway, Snapshot &before, const Target &after,
                const ChangeSet &changes);

} // namespace swctl
