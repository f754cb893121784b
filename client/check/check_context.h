// The check context of a gateway.
#pragma once

#include "client/check/check.h"
#include "client/gateway/gateway_view.h"

namespace swctl {

// Its interfaces and the devices that it does not support, without a rehearsed start.
CheckContext checkContextOf(const GatewayView &gateway);

} // namespace swctl
